/**
 * @file
 * The pictures of a report: from plain data to SVG text. Pure functions. Each gives an empty text when there is
 * nothing to be seen, so that no report shows empty axes.
 */
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace soundcheck {

/** The lowest and the highest sample of a piece of a signal; full scale is -1 ... 1. */
struct WaveColumn {
    double seconds = 0;
    double low = 0;
    double high = 0;
};

/** One signal over time; the columns in the order of time. */
struct WaveTrack {
    std::string name;
    std::vector<WaveColumn> columns;
};

/** The signals below each other on one time axis; each fills its row, and its peak is told beside its name. */
std::string waveformPicture(std::span<const WaveTrack> tracks);

/** How often which interval came: `counts[i]` from i to i + 1 times `binMilliseconds`, the last one and longer. */
struct IntervalCounts {
    double binMilliseconds = 1;
    std::vector<std::uint64_t> counts;
};

/** Logarithmic upwards: one late callback among a million is what one looks for. */
std::string intervalPicture(const IntervalCounts& intervals);

/** How late something came at some time. */
struct PlottedLag {
    double seconds = 0;
    double milliseconds = 0;
};

/** A lag that only differs by fractions of a block stays a flat line. */
std::string lagPicture(std::span<const PlottedLag> points);

/** One device on the timeline. */
struct TimelineRow {
    struct Span {
        double from = 0; ///< seconds
        double to = 0;
    };
    std::string name;
    std::vector<Span> runs; ///< from the first block to the last
    std::vector<Span> gaps; ///< within the runs
};

/** A log line of the plug-in. */
struct TimelineMark {
    double seconds = 0;
    std::int32_t level = 0; ///< 1 error, 2 warning, 3 information
    std::string text;
};

/** A row per device with its gaps, and the log lines above. */
std::string timelinePicture(std::span<const TimelineRow> rows, std::span<const TimelineMark> marks);

} // namespace soundcheck
