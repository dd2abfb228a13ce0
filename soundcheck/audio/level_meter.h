/**
 * @file
 * How loud it is. LevelMeter gathers on an audio thread, LevelDisplay makes a picture of it on the console's.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace soundcheck {

/** Full scale of 16 bits. */
inline constexpr int kFullScale = 32768;

/** The loudest sample since it was last asked. `add` on one thread, `takePeak` on another; neither waits. */
class LevelMeter {
public:
    void add(std::span<const std::int16_t> samples);
    void add(std::span<const std::uint8_t> samples);
    /** Samples of 8 or 16 bits as a device delivers them. */
    void add(std::span<const std::byte> bytes, std::uint32_t bitsPerSample);
    /** @return 0 ... kFullScale */
    int takePeak() { return m_peak.exchange(0, std::memory_order_relaxed); }

private:
    void raise(int peak);
    std::atomic<int> m_peak = 0;
};

/** Decibels below full scale; silence gives kSilenceDecibels. */
double decibels(int peak);
inline constexpr double kSilenceDecibels = -96.0;

/** The level with its memory: the peak is held for a while, a clipped sample stays marked for longer. */
class LevelDisplay {
public:
    using Clock = std::chrono::steady_clock;

    void update(int peak, Clock::time_point now);

    int held() const { return m_held; }
    bool clipped() const { return m_clipped; }

    /** "[#######---|--------]  -12.3 dB CLIP"; `width` characters between the brackets. */
    std::string text(std::size_t width) const;

private:
    int m_peak = 0;
    int m_held = 0;
    bool m_clipped = false;
    Clock::time_point m_heldSince;
    Clock::time_point m_clippedAt;
};

} // namespace soundcheck
