#include "console/log_printer.h"

#include <utility>

namespace soundcheck {
namespace {

constexpr std::size_t kMaxWaitingLines = 1000;

std::string_view levelName(std::int32_t level) {
    switch (level) {
    case 1:
        return "error";
    case 2:
        return "warning";
    case 3:
        return "information";
    default:
        return "unknown level";
    }
}

} // namespace

LogPrinter::LogPrinter(Console& console, LogThreshold threshold)
    : m_console(console), m_threshold(threshold), m_thread([this] { print(); }) {}

LogPrinter::~LogPrinter() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_added.notify_one();
    m_thread.join();
}

void LogPrinter::add(std::string_view deviceId, std::string_view message, std::int32_t level) {
    {
        const std::lock_guard lock(m_mutex);
        ++m_counts[level >= 1 && level <= 3 ? static_cast<std::size_t>(level) : 0];
        if (level > static_cast<std::int32_t>(m_threshold))
            return;
        if (m_lines.size() == kMaxWaitingLines) {
            ++m_leftOut;
            return;
        }
        std::string line = "plug-in ";
        line.append(levelName(level)).append(": ").append(message);
        if (!deviceId.empty())
            line.append(" [").append(deviceId).append("]");
        m_lines.push_back(std::move(line));
    }
    m_added.notify_one();
}

std::uint64_t LogPrinter::count(std::int32_t level) const {
    const std::lock_guard lock(m_mutex);
    return m_counts[level >= 1 && level <= 3 ? static_cast<std::size_t>(level) : 0];
}

void LogPrinter::print() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_added.wait(lock, [this] { return m_ending || !m_lines.empty(); });
        if (m_lines.empty()) // at the end what is left is still printed
            return;
        const std::string line = std::move(m_lines.front());
        m_lines.pop_front();
        const std::uint64_t leftOut = m_lines.empty() ? std::exchange(m_leftOut, 0) : 0;
        lock.unlock();
        m_console.errorLine(line);
        if (leftOut != 0)
            m_console.errorLine("(" + std::to_string(leftOut) + " more lines of the plug-in are not shown)");
        lock.lock();
    }
}

} // namespace soundcheck
