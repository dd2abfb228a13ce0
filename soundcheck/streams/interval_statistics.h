/**
 * @file
 * How regularly a device calls: the intervals between its callbacks, once it has settled. The first second does not
 * count, as a device fills its buffer then and comes up. Pure; one thread.
 */
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace soundcheck {

class IntervalStatistics {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr auto kSettledAfter = std::chrono::seconds(1);
    /** Two blocks: the next one should have been there by now. */
    static constexpr auto kLateAfter = std::chrono::milliseconds(40);
    /** A quarter of a block: the device makes up for lost time. */
    static constexpr auto kHurriedBelow = std::chrono::milliseconds(5);

    /** Bins of one millisecond; the last holds everything that is longer. */
    static constexpr std::size_t kBins = 101;
    static constexpr std::size_t kMaxLateKept = 1000;

    /** A late callback: for a picture of when it happened. */
    struct Late {
        double seconds = 0;      ///< from the first block to the callback before the gap
        double milliseconds = 0; ///< length of the gap
    };

    void add(Clock::time_point callback);

    /** Intervals that count. Without any, all numbers below are 0. */
    std::uint64_t intervals() const { return m_intervals; }
    double minMilliseconds() const { return m_min; }
    double maxMilliseconds() const { return m_max; }
    double averageMilliseconds() const { return m_average; }
    /** Standard deviation. */
    double deviationMilliseconds() const;
    /** Intervals longer than kLateAfter. */
    std::uint64_t late() const { return m_late; }
    /** Runs of intervals shorter than kHurriedBelow, and the blocks of the longest (two at least). */
    std::uint64_t bursts() const { return m_bursts; }
    std::uint64_t longestBurst() const { return m_longestBurst; }

    const std::array<std::uint64_t, kBins>& histogram() const { return m_histogram; }
    /** The first kMaxLateKept late callbacks. */
    const std::vector<Late>& lateCallbacks() const { return m_lateCallbacks; }

private:
    void count(Clock::time_point before, Clock::duration interval);

    Clock::time_point m_first;
    Clock::time_point m_last;
    bool m_begun = false;
    std::uint64_t m_intervals = 0;
    double m_min = 0;
    double m_max = 0;
    double m_average = 0;
    double m_squares = 0; ///< sum of the squared distances from the average
    std::uint64_t m_late = 0;
    std::uint64_t m_bursts = 0;
    std::uint64_t m_burst = 0; ///< blocks of the burst that goes on; 0: none
    std::uint64_t m_longestBurst = 0;
    std::array<std::uint64_t, kBins> m_histogram{};
    std::vector<Late> m_lateCallbacks;
};

} // namespace soundcheck
