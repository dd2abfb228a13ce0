#include "console/log_printer.h"

#include "report/log_record.h"

#include <utility>

namespace soundcheck {
namespace {

constexpr std::size_t kMaxWaitingLines = 1000;

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
    if (level > static_cast<std::int32_t>(m_threshold))
        return;
    {
        const std::lock_guard lock(m_mutex);
        if (m_lines.size() == kMaxWaitingLines) {
            ++m_leftOut;
            return;
        }
        std::string line = "plug-in ";
        line.append(logLevelName(level)).append(": ").append(message);
        if (!deviceId.empty())
            line.append(" [").append(deviceId).append("]");
        m_lines.push_back(std::move(line));
    }
    m_added.notify_one();
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
