#include "audio/channel_map.h"

#include <algorithm>

namespace soundcheck {
namespace {

constexpr std::uint32_t kLowFrequencies = 3;
constexpr float kMinusThreeDecibels = 0.70710678F;

/** What is left of (side 0) or right of (side 1) a listener in the usual channel order. */
float stereoGain(std::uint32_t side, std::uint32_t input) {
    if (input < 2)
        return input == side ? 1.0F : 0.0F;
    if (input == 2) // the centre is heard on both sides
        return kMinusThreeDecibels;
    if (input == kLowFrequencies) // no part of the programme
        return 0.0F;
    return input % 2 == side ? kMinusThreeDecibels : 0.0F;
}

float rawGain(std::uint32_t inputs, std::uint32_t outputs, std::uint32_t input, std::uint32_t output) {
    if (inputs != outputs && outputs == 1)
        return 1.0F / static_cast<float>(inputs);
    if (inputs != outputs && inputs == 1) // mono comes from the middle: both front speakers
        return output < 2 ? 1.0F : 0.0F;
    if (inputs > outputs && outputs == 2)
        return stereoGain(output, input);
    return output == input ? 1.0F : 0.0F;
}

} // namespace

ChannelMap::ChannelMap(std::uint32_t inputs, std::uint32_t outputs)
    : m_inputs(inputs), m_outputs(outputs), m_gains(std::size_t{inputs} * outputs, 0.0F) {
    const auto set = [&](std::uint32_t output, std::uint32_t input, float gain) {
        m_gains[output * m_inputs + input] = gain;
    };
    for (std::uint32_t output = 0; output < outputs; ++output)
        for (std::uint32_t input = 0; input < inputs; ++input)
            set(output, input, rawGain(inputs, outputs, input, output));
    // A sum of several channels must not clip.
    for (std::uint32_t output = 0; output < outputs; ++output) {
        float sum = 0.0F;
        for (std::uint32_t input = 0; input < inputs; ++input)
            sum += gain(output, input);
        if (sum > 1.0F)
            for (std::uint32_t input = 0; input < inputs; ++input)
                set(output, input, gain(output, input) / sum);
    }
}

void ChannelMap::apply(std::span<const float> input, std::vector<float>& output) const {
    if (m_inputs == m_outputs) {
        output.insert(output.end(), input.begin(), input.end());
        return;
    }
    const std::size_t frames = input.size() / m_inputs;
    output.reserve(output.size() + frames * m_outputs);
    for (std::size_t frame = 0; frame < frames; ++frame)
        for (std::uint32_t out = 0; out < m_outputs; ++out) {
            float sum = 0.0F;
            for (std::uint32_t in = 0; in < m_inputs; ++in)
                sum += input[frame * m_inputs + in] * gain(out, in);
            output.push_back(sum);
        }
}

} // namespace soundcheck
