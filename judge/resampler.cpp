#include "resampler.h"

#include <speex/speex_resampler.h>

#include <cmath>
#include <memory>
#include <numbers>

namespace judge {
namespace {

constexpr int kSincReach = 32; // samples to either side

double windowedSinc(double x) {
    if (std::abs(x) < 1e-9)
        return 1;
    const double window = 0.5 + 0.5 * std::cos(std::numbers::pi * x / (kSincReach + 1));
    return window * std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

} // namespace

Sound resampled(const Sound& sound, int rate) {
    if (sound.rate == rate)
        return sound;
    int error = 0;
    const std::unique_ptr<SpeexResamplerState, void (*)(SpeexResamplerState*)> state(
        speex_resampler_init(1, static_cast<spx_uint32_t>(sound.rate), static_cast<spx_uint32_t>(rate),
                             SPEEX_RESAMPLER_QUALITY_MAX, &error),
        speex_resampler_destroy);
    if (!state)
        throw std::runtime_error(speex_resampler_strerror(error));
    speex_resampler_skip_zeros(state.get());

    // Silence behind the end pushes the last samples out of the filter.
    std::vector<float> input(sound.samples.begin(), sound.samples.end());
    input.resize(input.size() + static_cast<std::size_t>(speex_resampler_get_input_latency(state.get())));
    const auto wanted =
        static_cast<std::size_t>(std::llround(static_cast<double>(sound.samples.size()) * rate / sound.rate));
    std::vector<float> output(wanted);
    auto inputLength = static_cast<spx_uint32_t>(input.size());
    auto outputLength = static_cast<spx_uint32_t>(output.size());
    speex_resampler_process_float(state.get(), 0, input.data(), &inputLength, output.data(), &outputLength);
    output.resize(outputLength);
    return {std::vector<double>(output.begin(), output.end()), rate};
}

std::vector<double> delayedByFraction(const std::vector<double>& samples, double fraction) {
    std::vector<double> taps;
    for (int k = -kSincReach; k <= kSincReach; ++k)
        taps.push_back(windowedSinc(k - fraction));
    const auto length = static_cast<std::ptrdiff_t>(samples.size());
    std::vector<double> delayed(samples.size());
    for (std::ptrdiff_t i = 0; i < length; ++i) {
        for (std::ptrdiff_t k = -kSincReach; k <= kSincReach; ++k) {
            if (i - k >= 0 && i - k < length)
                delayed[static_cast<std::size_t>(i)] +=
                    samples[static_cast<std::size_t>(i - k)] * taps[static_cast<std::size_t>(k + kSincReach)];
        }
    }
    return delayed;
}

} // namespace judge
