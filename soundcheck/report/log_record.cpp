#include "report/log_record.h"

namespace soundcheck {
namespace {

std::size_t placeOf(std::int32_t level) {
    return level >= 1 && level <= 3 ? static_cast<std::size_t>(level) : 0;
}

} // namespace

std::string_view logLevelName(std::int32_t level) {
    static constexpr std::array<std::string_view, 4> kNames = {"unknown level", "error", "warning", "information"};
    return kNames[placeOf(level)];
}

void LogRecord::add(std::string_view deviceId, std::string_view message, std::int32_t level, Clock::time_point now) {
    LogLine line{level, std::string(deviceId), std::string(message), seconds(now)};
    const std::lock_guard lock(m_mutex);
    ++m_counts[placeOf(level)];
    if (m_first.size() < kFirstLines) {
        m_first.push_back(std::move(line));
        return;
    }
    if (m_last.size() == kLastLines) {
        m_last.pop_front();
        ++m_leftOut;
    }
    m_last.push_back(std::move(line));
}

std::uint64_t LogRecord::count(std::int32_t level) const {
    const std::lock_guard lock(m_mutex);
    return m_counts[placeOf(level)];
}

LogRecord::Kept LogRecord::kept() const {
    const std::lock_guard lock(m_mutex);
    Kept kept{m_first, m_leftOut};
    kept.lines.insert(kept.lines.end(), m_last.begin(), m_last.end());
    return kept;
}

} // namespace soundcheck
