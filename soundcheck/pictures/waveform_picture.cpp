#include "pictures/drawing.h"
#include "pictures/pictures.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>

namespace soundcheck {
namespace {

constexpr double kRowHeight = 70;

/** Below -60 dB a signal is shown as the nothing that it is for the ear, not stretched to fill the row. */
constexpr double kLeastPeak = 0.001;

/** What one column may stand for: a block. In a longer pause between two columns there is nothing to be seen. */
constexpr double kPieceSeconds = 0.03;

/** A shorter signal, as one of a single block, does not fill the width. */
constexpr double kShortestSeconds = 0.02;

double peakOf(const WaveTrack& track) {
    double peak = 0;
    for (const WaveColumn& column : track.columns)
        peak = std::max({peak, std::abs(column.low), std::abs(column.high)});
    return peak;
}

std::string labelOf(const WaveTrack& track) {
    const double peak = peakOf(track);
    return shortened(track.name, kLongestLabel - 16) +
           (peak > 0 ? ", peak " + fixedDecimals(20 * std::log10(peak), 1) + " dB" : std::string(", silence"));
}

/** A stroke per unit of width: more columns than that are not to be seen, and would make a page of megabytes. */
std::string strokesOf(const WaveTrack& track, const PlotArea& area, const Scale& time) {
    std::map<int, WaveColumn> strokes;
    for (const WaveColumn& column : track.columns) {
        const int x = static_cast<int>(std::lround(position(time, column.seconds, area.left, area.right)));
        const auto [place, isNew] = strokes.try_emplace(x, column);
        place->second.low = std::min(place->second.low, column.low);
        place->second.high = std::max(place->second.high, column.high);
    }
    const double peak = std::max(peakOf(track), kLeastPeak);
    const Scale level{-peak, peak, peak};
    std::string commands;
    const double widest = 1 + kPieceSeconds * (area.right - area.left) / (time.high - time.low);
    for (auto stroke = strokes.begin(); stroke != strokes.end(); ++stroke) {
        auto [x, column] = *stroke;
        const auto next = std::next(stroke);
        if (next != strokes.end() && next->first <= x + widest) { // up to the next one, else a steep curve is dashed
            column.high = std::max(column.high, next->second.low);
            column.low = std::min(column.low, next->second.high);
        }
        const double right = std::min(next == strokes.end() ? area.right : next->first, x + widest);
        const double top = position(level, column.high, area.bottom, area.top);
        const double bottom = std::max(position(level, column.low, area.bottom, area.top), top + 1); // silence, too
        commands += moveTo(x, top) + lineTo(right, top) + lineTo(right, bottom) + lineTo(x, bottom) + "Z";
    }
    return commands;
}

} // namespace

std::string waveformPicture(std::span<const WaveTrack> tracks) {
    double first = 0;
    double last = 0;
    std::size_t rows = 0;
    for (const WaveTrack& track : tracks)
        if (!track.columns.empty()) {
            first = rows == 0 ? track.columns.front().seconds : std::min(first, track.columns.front().seconds);
            last = std::max(last, track.columns.back().seconds);
            ++rows;
        }
    if (rows == 0)
        return {};

    const Scale time = timeScale(first, last, kShortestSeconds);
    Drawing drawing(static_cast<double>(rows) * (kRowHeight + kLineHeight) + kAxisHeight,
                    "Waveforms over " + fixedDecimals(last - first, last - first < 1 ? 3 : 1) + " seconds");
    PlotArea area;
    area.left = kSideMargin;
    area.bottom = 0;
    for (const WaveTrack& track : tracks) {
        if (track.columns.empty())
            continue;
        area.top = area.bottom + kLineHeight;
        area.bottom = area.top + kRowHeight;
        drawing.text(area.left, area.top - 4, Anchor::start, labelOf(track));
        for (const double tick : ticksOf(time)) {
            const double x = position(time, tick, area.left, area.right);
            drawing.line(x, area.top, x, area.bottom, "grid");
        }
        drawing.path(strokesOf(track, area, time), "wave");
    }
    drawTimeAxis(drawing, area, time);
    return drawing.svg();
}

} // namespace soundcheck
