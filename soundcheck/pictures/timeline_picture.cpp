#include "pictures/drawing.h"
#include "pictures/pictures.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string_view>
#include <utility>

namespace soundcheck {
namespace {

constexpr double kBarHeight = 20; // a single device is to be seen on a phone, too
constexpr double kMarkHeight = 18;

/** A gap of 100 ms in an hour is thinner than any line, and yet what one looks for. */
constexpr double kLeastGapWidth = 2;

std::string_view markClass(std::int32_t level) {
    return level == 1 ? "error" : level == 2 ? "warning" : "information";
}

struct TimeRange {
    double first = 0;
    double last = 0;
};

TimeRange rangeOf(std::span<const TimelineRow> rows, std::span<const TimelineMark> marks) {
    TimeRange range;
    bool any = false;
    const auto hold = [&](double from, double to) {
        range = any ? TimeRange{std::min(range.first, from), std::max(range.last, to)} : TimeRange{from, to};
        any = true;
    };
    for (const TimelineRow& row : rows)
        for (const TimelineRow::Span& run : row.runs)
            hold(run.from, run.to);
    for (const TimelineMark& mark : marks)
        hold(mark.seconds, mark.seconds);
    return range;
}

void drawMarks(Drawing& drawing, const PlotArea& area, const Scale& time, std::span<const TimelineMark> marks) {
    std::set<std::pair<long, std::int32_t>> drawn; // a thousand lines in one place are one mark
    for (const TimelineMark& mark : marks) {
        const double x = position(time, mark.seconds, area.left, area.right);
        if (drawn.emplace(std::lround(x), mark.level).second)
            drawing.box(x - 1.5, area.top, 3, kMarkHeight, markClass(mark.level),
                        fixedDecimals(mark.seconds, 2) + " s: " + mark.text);
    }
}

void drawRow(Drawing& drawing, const PlotArea& area, const Scale& time, const TimelineRow& row) {
    const auto drawSpan = [&](const TimelineRow::Span& span, double leastWidth, std::string_view spanClass,
                              const std::string& hint) {
        const double left = position(time, span.from, area.left, area.right);
        const double right = position(time, span.to, area.left, area.right);
        drawing.box(left, area.top, std::max(right - left, leastWidth), kBarHeight, spanClass, hint);
    };
    for (const TimelineRow::Span& run : row.runs)
        drawSpan(run, 1, "blocks", {});
    for (const TimelineRow::Span& gap : row.gaps) // over the blocks, so that none hides a gap
        drawSpan(gap, kLeastGapWidth, "gap",
                 "gap of " + fixedDecimals((gap.to - gap.from) * 1000, 0) + " ms at " + fixedDecimals(gap.from, 2) +
                     " s");
}

} // namespace

std::string timelinePicture(std::span<const TimelineRow> rows, std::span<const TimelineMark> marks) {
    const auto isEmpty = [](const TimelineRow& row) { return row.runs.empty(); };
    const auto used = std::count_if(rows.begin(), rows.end(), [&](const TimelineRow& row) { return !isEmpty(row); });
    if (used == 0)
        return {};

    const TimeRange range = rangeOf(rows, marks);
    const Scale time = timeScale(range.first, range.last, 0.1);
    const double markRow = marks.empty() ? 0 : kLineHeight + kMarkHeight;
    Drawing drawing(markRow + static_cast<double>(used) * (kLineHeight + kBarHeight + 4) + kAxisHeight + 4,
                    "Timeline of the blocks over " + fixedDecimals(range.last - range.first, 1) + " seconds");
    PlotArea area;
    area.left = kSideMargin;
    area.bottom = 0;
    if (!marks.empty()) {
        area.top = kLineHeight;
        drawing.text(area.left, area.top - 5, Anchor::start, "log lines of the plug-in");
        drawMarks(drawing, area, time, marks);
        area.bottom = area.top + kMarkHeight;
    }
    for (const TimelineRow& row : rows) {
        if (isEmpty(row))
            continue;
        area.top = area.bottom + kLineHeight;
        drawing.text(area.left, area.top - 5, Anchor::start, shortened(row.name, kLongestLabel));
        drawRow(drawing, area, time, row);
        area.bottom = area.top + kBarHeight + 4;
    }
    area.bottom += 4;
    drawTimeAxis(drawing, area, time);
    return drawing.svg();
}

} // namespace soundcheck
