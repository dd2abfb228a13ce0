/**
 * @file
 * Notices that a running device asks or delivers no more. DirectSound does not call a frozen cursor an error, so
 * the plug-in waits for it without a word; a client has to look at the clock itself. Pure; one thread.
 */
#pragma once

#include <chrono>
#include <cstdint>

namespace soundcheck {

class StallWatch {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr auto kStalledAfter = std::chrono::seconds(1);
    /** A capture device may take its time to come up. */
    static constexpr auto kNotBegunAfter = std::chrono::seconds(3);
    static constexpr auto kGivenUpAfter = std::chrono::seconds(10);

    explicit StallWatch(Clock::time_point started) : m_lastProgress(started) {}

    /** @return true once per stall, when it is noticed */
    bool update(std::uint64_t blocks, Clock::time_point now) {
        if (blocks != m_blocks) {
            m_blocks = blocks;
            m_begun = true;
            m_lastProgress = now;
            m_stalled = false;
        }
        if (m_stalled || now - m_lastProgress <= (m_begun ? kStalledAfter : kNotBegunAfter))
            return false;
        m_stalled = true;
        ++m_stalls;
        return true;
    }

    /** The device was opened anew and begins once more. */
    void restart(Clock::time_point now) {
        m_lastProgress = now;
        m_begun = false;
        m_stalled = false;
    }

    /** Nothing has come for so long that waiting is of no use. */
    bool givenUp(Clock::time_point now) const { return silence(now) > kGivenUpAfter; }

    /** Since the last block, or since the start. */
    Clock::duration silence(Clock::time_point now) const { return now - m_lastProgress; }

    /** It stands still now. */
    bool stalled() const { return m_stalled; }
    int stalls() const { return m_stalls; }

private:
    Clock::time_point m_lastProgress;
    std::uint64_t m_blocks = 0;
    bool m_begun = false;
    bool m_stalled = false;
    int m_stalls = 0;
};

} // namespace soundcheck
