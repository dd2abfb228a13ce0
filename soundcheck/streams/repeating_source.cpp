#include "streams/repeating_source.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace soundcheck {
namespace {

constexpr double kToneHertz = 440;     // a whole number of periods in a second
constexpr double kToneAmplitude = 328; // -40 dB

} // namespace

std::int32_t RepeatingSource::fill(const AudioBlock& block) {
    m_clock.tick();
    std::int16_t* out = block.samples;
    for (std::int32_t frame = 0; frame < block.frameCount; ++frame) {
        out = std::fill_n(out, m_channels, m_sound[m_next]);
        m_next = m_next + 1 == m_sound.size() ? 0 : m_next + 1;
    }
    return block.frameCount;
}

std::vector<std::int16_t> softTone(std::uint32_t sampleRate) {
    std::vector<std::int16_t> tone(sampleRate);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<std::int16_t>(std::lround(
            kToneAmplitude * std::sin(2 * std::numbers::pi * kToneHertz * static_cast<double>(i) / sampleRate)));
    return tone;
}

} // namespace soundcheck
