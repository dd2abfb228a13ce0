#include "echo_canceller.h"

#include <speex/speex_echo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

namespace judge {
namespace {

constexpr double kSpeaks = 0.003; // level of a step in which the reference speaks (-50 dB of full scale)

using Canceller = std::unique_ptr<SpeexEchoState, void (*)(SpeexEchoState*)>;

Canceller createCanceller(int rate, const CancellerSettings& settings, std::size_t tail) {
    Canceller canceller(speex_echo_state_init(static_cast<int>(settings.frame), static_cast<int>(tail)),
                        speex_echo_state_destroy);
    speex_echo_ctl(canceller.get(), SPEEX_ECHO_SET_SAMPLING_RATE, &rate);
    return canceller;
}

std::vector<std::int16_t> wholeNumbers(const std::vector<double>& samples, std::size_t length, std::ptrdiff_t shift) {
    std::vector<std::int16_t> numbers(length);
    for (std::ptrdiff_t i = 0; i < std::ssize(numbers); ++i) {
        const std::ptrdiff_t from = i - shift;
        if (from >= 0 && from < std::ssize(samples)) {
            const double value = std::clamp(samples[static_cast<std::size_t>(from)], -1.0, 1.0);
            numbers[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(std::lround(value * 32767));
        }
    }
    return numbers;
}

} // namespace

Sound residualOf(const Sound& reference, const Sound& microphone, const CancellerSettings& settings) {
    if (reference.rate != microphone.rate)
        throw BadFile("the reference and the microphone have different rates");
    const Canceller canceller =
        createCanceller(microphone.rate, settings, microphone.frames(settings.tailMilliseconds));
    const std::size_t length = microphone.samples.size() / settings.frame * settings.frame;
    const auto shift = static_cast<std::ptrdiff_t>(std::lround(settings.shiftMilliseconds * microphone.rate / 1000));
    const std::vector<std::int16_t> heard = wholeNumbers(microphone.samples, length, 0);
    const std::vector<std::int16_t> played = wholeNumbers(reference.samples, length, shift);

    Sound residual{std::vector<double>(length), microphone.rate};
    std::vector<std::int16_t> left(settings.frame);
    for (std::size_t first = 0; first < length; first += settings.frame) {
        speex_echo_cancellation(canceller.get(), &heard[first], &played[first], left.data());
        std::ranges::transform(left, &residual.samples[first], [](std::int16_t value) { return value / 32767.0; });
    }
    return residual;
}

double erle(const Sound& reference, const Sound& microphone, const Sound& residual, const CancellerSettings& settings,
            std::size_t first, std::size_t last) {
    const std::size_t step = settings.frame;
    const std::size_t tail = microphone.frames(settings.tailMilliseconds);
    const auto shift = static_cast<std::ptrdiff_t>(std::lround(settings.shiftMilliseconds * microphone.rate / 1000));
    const auto speaks = [&](std::size_t from) {
        const std::ptrdiff_t there = static_cast<std::ptrdiff_t>(from) - shift;
        return there >= 0 && levelOf(reference.samples, static_cast<std::size_t>(there), step) > kSpeaks;
    };
    std::size_t quietFor = tail; // frames since the reference last spoke
    double heard = 0;
    double left = 0;
    for (std::size_t from = 0; from + step <= std::min(last, residual.samples.size()); from += step) {
        quietFor = speaks(from) ? 0 : quietFor + step;
        if (from < first || quietFor >= tail)
            continue;
        heard += std::pow(levelOf(microphone.samples, from, step), 2);
        left += std::pow(levelOf(residual.samples, from, step), 2);
    }
    return heard > 0 ? decibels(std::sqrt(heard / std::max(left, 1e-20))) : 0;
}

} // namespace judge
