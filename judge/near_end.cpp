#include "near_end.h"

#include "correlation.h"
#include "resampler.h"

#include <cmath>

namespace judge {
namespace {

constexpr double kSearchMilliseconds = 20;

} // namespace

bool Survival::survived() const {
    return survivingDecibels >= kSurvivingDecibels && likeness >= kSurvivingLikeness;
}

NearEnd placeNearEnd(const Sound& speech, const Sound& microphone, double gainDecibels) {
    const Sound voice = resampled(speech, microphone.rate);
    const std::size_t length = microphone.samples.size();
    NearEnd nearEnd{{std::vector<double>(length), microphone.rate}, length - length / 3};
    std::vector<double>& clean = nearEnd.clean.samples;
    for (std::size_t i = nearEnd.first; i < length; ++i)
        clean[i] = voice.samples[(i - nearEnd.first) % voice.samples.size()];
    const double heard = levelOf(microphone.samples, nearEnd.first, length - nearEnd.first);
    const double spoken = levelOf(clean, nearEnd.first, length - nearEnd.first);
    if (heard <= 0 || spoken <= 0)
        throw BadFile("the last third of the microphone, or the near-end speech, is silent");
    const double gain = heard / spoken * std::pow(10, gainDecibels / 20);
    for (double& sample : clean)
        sample *= gain;
    return nearEnd;
}

Sound mixed(const Sound& microphone, const NearEnd& nearEnd) {
    Sound mixture = microphone;
    for (std::size_t i = nearEnd.first; i < mixture.samples.size(); ++i)
        mixture.samples[i] += nearEnd.clean.samples[i];
    return mixture;
}

Survival survivalOf(const NearEnd& nearEnd, const Sound& residual) {
    const std::vector<double>& clean = nearEnd.clean.samples;
    const std::size_t count = residual.samples.size() - nearEnd.first;
    const Lag reach = static_cast<Lag>(residual.frames(kSearchMilliseconds));
    const Match match = bestMatch(clean, nearEnd.first, count, residual.samples, -reach, reach);
    // The projection's level over the clean speech's: likeness * |residual| / |clean|.
    const double ratio = levelOf(residual.samples, nearEnd.first, count) / levelOf(clean, nearEnd.first, count);
    return {decibels(match.likeness * ratio), match.likeness};
}

} // namespace judge
