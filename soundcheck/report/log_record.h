/**
 * @file
 * The plug-in's log lines, counted and kept for the report: all counts, but of a flood of lines only the first and
 * the last ones.
 *
 * Thread: any; `add` also inside audio callbacks. Failure: none but lack of memory.
 */
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace soundcheck {

struct LogLine {
    std::int32_t level = 0;
    std::string device; ///< empty: it concerns no device
    std::string text;
    double seconds = 0; ///< since the program began
};

/** "error", "warning", "information". */
std::string_view logLevelName(std::int32_t level);

class LogRecord {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t kFirstLines = 300;
    static constexpr std::size_t kLastLines = 300;

    explicit LogRecord(Clock::time_point began = Clock::now()) : m_began(began) {}

    void add(std::string_view deviceId, std::string_view message, std::int32_t level, Clock::time_point now);

    /** Lines of one level so far, kept or not. */
    std::uint64_t count(std::int32_t level) const;

    struct Kept {
        std::vector<LogLine> lines;
        std::uint64_t leftOut = 0; ///< between the first lines and the last ones
    };
    Kept kept() const;

    /** Seconds since the program began: the time axis of everything that is reported. */
    double seconds(Clock::time_point time) const { return std::chrono::duration<double>(time - m_began).count(); }

private:
    const Clock::time_point m_began;
    mutable std::mutex m_mutex; ///< guards what follows
    std::vector<LogLine> m_first;
    std::deque<LogLine> m_last;
    std::uint64_t m_leftOut = 0;
    std::array<std::uint64_t, 4> m_counts{}; ///< by level; other levels are counted at 0
};

} // namespace soundcheck
