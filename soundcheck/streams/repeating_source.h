/**
 * @file
 * Plays the same sound over and over, in all channels, without a gap.
 *
 * Thread: `fill` on the audio thread; the rest on any.
 */
#pragma once

#include "streams/block_clock.h"
#include "streams/block_streams.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace soundcheck {

class RepeatingSource final : public BlockSource {
public:
    /** @param sound one channel; not empty */
    RepeatingSource(std::vector<std::int16_t> sound, std::uint32_t channels)
        : m_sound(std::move(sound)), m_channels(channels) {}

    std::int32_t fill(const AudioBlock& block) override;

    const BlockClock& clock() const { return m_clock; }

private:
    std::vector<std::int16_t> m_sound;
    std::uint32_t m_channels;
    std::size_t m_next = 0;
    BlockClock m_clock;
};

/** A second of a soft tone that repeats without a click: loud enough to be seen on a meter, and to be borne. */
std::vector<std::int16_t> softTone(std::uint32_t sampleRate);

} // namespace soundcheck
