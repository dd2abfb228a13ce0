#include "pictures/drawing.h"
#include "pictures/pictures.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>

namespace soundcheck {
namespace {

constexpr double kHeight = 170;

/** A narrower range would show the timer's noise as a landscape. */
constexpr double kLeastMilliseconds = 10;

constexpr std::size_t kMostBars = 60;

struct Bar {
    double from = 0; ///< milliseconds
    double to = 0;
    std::uint64_t count = 0;
};

std::vector<Bar> barsOf(const IntervalCounts& intervals, std::size_t first, std::size_t last) {
    const std::size_t perBar = (last - first) / kMostBars + 1;
    std::vector<Bar> bars;
    for (std::size_t bin = first; bin <= last; ++bin) {
        if ((bin - first) % perBar == 0)
            bars.push_back({static_cast<double>(bin) * intervals.binMilliseconds, 0, 0});
        bars.back().to = static_cast<double>(bin + 1) * intervals.binMilliseconds;
        bars.back().count += intervals.counts[bin];
    }
    return bars;
}

/** Where the height of a count lies: one is to be seen, none is not. */
double heightOf(std::uint64_t count) {
    return count == 0 ? 0 : 0.3 + std::log10(static_cast<double>(count));
}

void drawCountAxis(Drawing& drawing, const PlotArea& area, const Scale& scale) {
    double count = 1;
    for (double power = 0; 0.3 + power <= scale.high + 1e-9; ++power, count *= 10) {
        const double y = position(scale, 0.3 + power, area.bottom, area.top);
        drawing.line(area.left, y, area.right, y, "grid");
        drawing.text(area.left - 6, y + 4, Anchor::end,
                     count < 1e6 ? fixedDecimals(count, 0) : fixedDecimals(count / 1e6, 0) + "M");
    }
    drawing.text(4, area.top - 16, Anchor::start, "callbacks (logarithmic)");
}

std::string hintOf(const Bar& bar, bool openEnd) {
    return fixedDecimals(bar.from, 1) + (openEnd ? " ms and more: " : " to " + fixedDecimals(bar.to, 1) + " ms: ") +
           std::to_string(bar.count);
}

} // namespace

std::string intervalPicture(const IntervalCounts& intervals) {
    const auto isUsed = [](std::uint64_t count) { return count != 0; };
    const auto& counts = intervals.counts;
    const auto firstUsed = std::find_if(counts.begin(), counts.end(), isUsed);
    if (firstUsed == counts.end())
        return {};
    const auto first = static_cast<std::size_t>(firstUsed - counts.begin());
    const auto last =
        static_cast<std::size_t>(std::find_if(counts.rbegin(), counts.rend(), isUsed).base() - counts.begin()) - 1;
    const std::vector<Bar> bars = barsOf(intervals, first, last);
    const auto highest =
        std::max_element(bars.begin(), bars.end(), [](const Bar& a, const Bar& b) { return a.count < b.count; });

    PlotArea area;
    area.top = kNamedAxisTop;
    area.bottom = area.top + kHeight;
    Drawing drawing(area.bottom + kAxisHeight, "Histogram of the time between two callbacks");
    const Scale time = tightScale(bars.front().from, bars.back().to, kLeastMilliseconds, 6);
    const Scale count{0, std::ceil(heightOf(highest->count)), 1};
    drawCountAxis(drawing, area, count);
    for (const Bar& bar : bars) {
        if (bar.count == 0)
            continue;
        const double left = position(time, bar.from, area.left, area.right);
        const double right = position(time, bar.to, area.left, area.right);
        const double top = position(count, heightOf(bar.count), area.bottom, area.top);
        const bool openEnd = &bar == &bars.back() && last + 1 == counts.size();
        drawing.box(left + 0.5, top, std::max(right - left - 1, 1.0), area.bottom - top, "bar", hintOf(bar, openEnd));
    }
    drawHorizontalAxis(drawing, area, time, "milliseconds between two callbacks");
    return drawing.svg();
}

} // namespace soundcheck
