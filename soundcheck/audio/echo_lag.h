/**
 * @file
 * How long after the echo reference the microphone hears the same sound. Pure.
 */
#pragma once

#include "audio/marker.h"

#include <span>
#include <vector>

namespace soundcheck {

/** One marker that was found in both. */
struct LagPoint {
    double seconds = 0;      ///< where it begins in the reference
    double milliseconds = 0; ///< how much later it begins in the microphone
    double correlation = 0;  ///< of what the microphone heard
};

struct EchoLag {
    std::vector<LagPoint> points; ///< in order; when it is empty, the numbers below are 0
    double medianMilliseconds = 0;
    double minMilliseconds = 0;
    double maxMilliseconds = 0;
    double medianCorrelation = 0;

    double spreadMilliseconds() const { return maxMilliseconds - minMilliseconds; }
};

/** Lags from kLeastLagSeconds on to a period behind it are told apart. */
inline constexpr double kLeastLagSeconds = -0.2;

EchoLag measureLag(std::span<const MarkerMatch> reference, std::span<const MarkerMatch> microphone);

} // namespace soundcheck
