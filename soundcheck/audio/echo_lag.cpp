#include "audio/echo_lag.h"

#include <algorithm>

namespace soundcheck {
namespace {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

EchoLag measureLag(std::span<const MarkerMatch> reference, std::span<const MarkerMatch> microphone) {
    EchoLag lag;
    auto heard = microphone.begin();
    for (const MarkerMatch& sent : reference) {
        heard = std::find_if(heard, microphone.end(), [&](const MarkerMatch& match) {
            return match.seconds >= sent.seconds + kLeastLagSeconds;
        });
        if (heard == microphone.end())
            break;
        if (heard->seconds < sent.seconds + kLeastLagSeconds + kMarkerPeriodSeconds)
            lag.points.push_back({sent.seconds, 1000.0 * (heard->seconds - sent.seconds), heard->correlation});
    }
    if (lag.points.empty())
        return lag;
    std::vector<double> lags;
    std::vector<double> correlations;
    for (const LagPoint& point : lag.points) {
        lags.push_back(point.milliseconds);
        correlations.push_back(point.correlation);
    }
    lag.medianMilliseconds = median(lags);
    lag.minMilliseconds = *std::min_element(lags.begin(), lags.end());
    lag.maxMilliseconds = *std::max_element(lags.begin(), lags.end());
    lag.medianCorrelation = median(correlations);
    return lag;
}

} // namespace soundcheck
