/**
 * @file
 * Arithmetic of an axis: a range with round ends, its ticks, and where a value lies on the picture. Pure functions.
 */
#pragma once

#include <string>
#include <vector>

namespace soundcheck {

struct Scale {
    double low = 0;
    double high = 1;
    double step = 1; ///< from tick to tick; ticks are multiples of it
};

/**
 * The smallest scale with round ticks that holds both values.
 * @param minimumSpan a smaller range is widened around its middle, so that noise in the last digit stays a flat line
 * @param maximumSteps between ticks; at least 2
 */
Scale niceScale(double low, double high, double minimumSpan, int maximumSteps);

/** The same ticks, but the ends are the values themselves: for time, of which none should be shown empty. */
Scale tightScale(double low, double high, double minimumSpan, int maximumSteps);

/** The multiples of the step within the scale, from the lowest to the highest; never more than a hundred. */
std::vector<double> ticksOf(const Scale& scale);

/** With as many decimals as the step needs: "0.25", "20"; never "-0". */
std::string tickText(double value, double step);

/** Where `value` lies between `from` (the scale's low) and `to` (its high); values outside lie on the ends. */
double position(const Scale& scale, double value, double from, double to);

} // namespace soundcheck
