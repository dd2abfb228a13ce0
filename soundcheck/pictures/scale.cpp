#include "pictures/scale.h"

#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace soundcheck {
namespace {

constexpr int kMostTicks = 100;

/** Of a step: what sums of steps are off by. */
constexpr double kAlmost = 1e-6;

/** 1, 2 or 5 times a power of ten, not below `rough`. */
double roundStep(double rough) {
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= rough * (1 - 1e-9))
            return factor * power;
    return 10 * power;
}

struct Range {
    double low = 0;
    double high = 0;
};

Range widened(double low, double high, double minimumSpan) {
    if (!std::isfinite(low) || !std::isfinite(high) || high < low)
        low = high = 0;
    // Below a millionth of the value itself neighbouring ticks read the same.
    const double least = std::max({minimumSpan, std::max(std::abs(low), std::abs(high)) * 1e-6, 1e-9});
    if (high - low >= least)
        return {low, high};
    const double middle = low + (high - low) / 2;
    const double start = low >= 0 && middle < least / 2 ? 0 : middle - least / 2;
    return {start, start + least};
}

} // namespace

Scale niceScale(double low, double high, double minimumSpan, int maximumSteps) {
    const Range range = widened(low, high, minimumSpan);
    Scale scale;
    // Round ends may need a step more than the span alone; with steps as long as both sides of zero two are enough.
    for (double step = roundStep((range.high - range.low) / maximumSteps);; step = roundStep(step * 1.5)) {
        scale = {std::floor(range.low / step + kAlmost) * step, std::ceil(range.high / step - kAlmost) * step, step};
        if (scale.high - scale.low <= (maximumSteps + 1e-6) * step)
            return scale;
    }
}

Scale tightScale(double low, double high, double minimumSpan, int maximumSteps) {
    const Range range = widened(low, high, minimumSpan);
    return {range.low, range.high, roundStep((range.high - range.low) / maximumSteps)};
}

std::vector<double> ticksOf(const Scale& scale) {
    const double first = std::ceil(scale.low / scale.step - kAlmost);
    const double last = std::floor(scale.high / scale.step + kAlmost);
    std::vector<double> ticks;
    for (int i = 0; i < kMostTicks && first + i <= last; ++i)
        ticks.push_back((first + i) * scale.step);
    return ticks;
}

std::string tickText(double value, double step) {
    const int decimals = std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 9);
    if (std::abs(value) < step / 2)
        value = 0; // also what is left of a zero after sums, and the negative one
    return fixedDecimals(value, decimals);
}

double position(const Scale& scale, double value, double from, double to) {
    const double part = (value - scale.low) / (scale.high - scale.low);
    return from + (std::isfinite(part) ? std::clamp(part, 0.0, 1.0) : 0.0) * (to - from);
}

} // namespace soundcheck
