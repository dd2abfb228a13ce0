/**
 * @file
 * Which input channel goes into which output channel, and how loud. Pure functions. Channels are in the usual
 * order: front left, front right, centre, low frequencies, back left, back right, side left, side right.
 */
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace soundcheck {

class ChannelMap {
public:
    ChannelMap(std::uint32_t inputs, std::uint32_t outputs);

    /** Share of input `input` in output `output`. No output can become louder than full scale. */
    float gain(std::uint32_t output, std::uint32_t input) const { return m_gains[output * m_inputs + input]; }

    /** Converts interleaved frames and appends them to `output`. */
    void apply(std::span<const float> input, std::vector<float>& output) const;

private:
    std::uint32_t m_inputs;
    std::uint32_t m_outputs;
    std::vector<float> m_gains;
};

} // namespace soundcheck
