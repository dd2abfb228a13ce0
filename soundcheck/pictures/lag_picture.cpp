#include "pictures/drawing.h"
#include "pictures/pictures.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>

namespace soundcheck {
namespace {

constexpr double kHeight = 170;

/** Half a block: less than that no canceller cares about. */
constexpr double kLeastMilliseconds = 10;

/** Hundredths are half a frame; what is finer is arithmetic, not lag. */
double rounded(double milliseconds) {
    return std::round(milliseconds * 100) / 100;
}

} // namespace

std::string lagPicture(std::span<const PlottedLag> points) {
    if (points.empty())
        return {};
    const auto [earliest, latest] = std::minmax_element(
        points.begin(), points.end(), [](const PlottedLag& a, const PlottedLag& b) { return a.seconds < b.seconds; });
    const auto [least, most] =
        std::minmax_element(points.begin(), points.end(),
                            [](const PlottedLag& a, const PlottedLag& b) { return a.milliseconds < b.milliseconds; });
    const double lowest = rounded(least->milliseconds);
    const double highest = rounded(most->milliseconds);

    PlotArea area;
    area.top = kNamedAxisTop;
    area.bottom = area.top + kHeight;
    Drawing drawing(area.bottom + kAxisHeight, "Lag over time, from " + fixedDecimals(lowest, 2) + " to " +
                                                   fixedDecimals(highest, 2) + " milliseconds");
    const Scale time = timeScale(earliest->seconds, latest->seconds, 1);
    const Scale lag = niceScale(lowest, highest, kLeastMilliseconds, 5);
    drawVerticalAxis(drawing, area, lag, "lag in milliseconds");

    std::string commands;
    for (const PlottedLag& point : points) {
        const double x = position(time, point.seconds, area.left, area.right);
        const double y = position(lag, rounded(point.milliseconds), area.bottom, area.top);
        commands += commands.empty() ? moveTo(x, y) : lineTo(x, y);
    }
    drawing.path(commands, "curve");
    for (const PlottedLag& point : points)
        drawing.dot(position(time, point.seconds, area.left, area.right),
                    position(lag, rounded(point.milliseconds), area.bottom, area.top), 3, "point",
                    fixedDecimals(point.milliseconds, 2) + " ms at " + fixedDecimals(point.seconds, 2) + " s");
    drawTimeAxis(drawing, area, time);
    return drawing.svg();
}

} // namespace soundcheck
