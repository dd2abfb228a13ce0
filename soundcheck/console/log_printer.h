/**
 * @file
 * Prints the plug-in's log lines that were asked for on standard error.
 *
 * Thread: `add` on any, also inside audio callbacks and on several threads at once; it waits for no terminal, a
 * thread of its own prints. Failure: when lines come faster than the terminal takes them, some are left out and
 * their number is told.
 */
#pragma once

#include "console/console.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace soundcheck {

/** What to print: a line is printed when its level is not above this number. */
enum class LogThreshold : std::int32_t { none = 0, errors = 1, warnings = 2, information = 3 };

class LogPrinter {
public:
    LogPrinter(Console& console, LogThreshold threshold);
    LogPrinter(const LogPrinter&) = delete;
    LogPrinter& operator=(const LogPrinter&) = delete;
    /** Prints what is left. */
    ~LogPrinter();

    void add(std::string_view deviceId, std::string_view message, std::int32_t level);

private:
    void print();

    Console& m_console;
    LogThreshold m_threshold;
    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_added;
    std::deque<std::string> m_lines;
    std::uint64_t m_leftOut = 0;
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace soundcheck
