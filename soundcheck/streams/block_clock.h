/**
 * @file
 * When blocks came: count, longest gap, and the rate they really came at. `tick` runs on the audio thread, the
 * rest on any; nothing waits.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace soundcheck {

class BlockClock {
public:
    using Clock = std::chrono::steady_clock; // the performance counter

    void tick(Clock::time_point now = Clock::now()) {
        const std::int64_t time = now.time_since_epoch().count();
        if (m_blocks.load(std::memory_order_relaxed) == 0)
            m_first.store(time, std::memory_order_relaxed);
        else if (const std::int64_t gap = time - m_last.load(std::memory_order_relaxed);
                 gap > m_longestGap.load(std::memory_order_relaxed))
            m_longestGap.store(gap, std::memory_order_relaxed);
        m_last.store(time, std::memory_order_relaxed);
        m_blocks.fetch_add(1, std::memory_order_release);
    }

    std::uint64_t blocks() const { return m_blocks.load(std::memory_order_acquire); }

    double longestGapMilliseconds() const { return milliseconds(m_longestGap.load(std::memory_order_relaxed)); }

    /**
     * Audio time over real time from the first to the last block, in per cent: 100 when the device's clock is
     * right. 0 before the second block.
     */
    double ratePercent(double millisecondsPerBlock) const {
        const std::uint64_t count = blocks();
        const double elapsed =
            milliseconds(m_last.load(std::memory_order_relaxed) - m_first.load(std::memory_order_relaxed));
        return count < 2 || elapsed <= 0 ? 0.0
                                         : 100.0 * static_cast<double>(count - 1) * millisecondsPerBlock / elapsed;
    }

private:
    static double milliseconds(std::int64_t ticks) {
        return std::chrono::duration<double, std::milli>(Clock::duration(ticks)).count();
    }

    std::atomic<std::uint64_t> m_blocks = 0;
    std::atomic<std::int64_t> m_first = 0;
    std::atomic<std::int64_t> m_last = 0;
    std::atomic<std::int64_t> m_longestGap = 0;
};

} // namespace soundcheck
