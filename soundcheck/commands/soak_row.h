/**
 * @file
 * What soak knows about one device: plain numbers, for the table, the summary and pictures.
 */
#pragma once

#include "orvosoundbackend.h"
#include "streams/interval_statistics.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace soundcheck {

enum class SoakState {
    failed, ///< did not open or start
    silent, ///< no block yet
    running,
    stalled ///< no block for more than a second
};

const char* stateName(SoakState state);

struct SoakRow {
    DeviceDirection direction = ORVO_PLAYBACK;
    std::string name;
    SoakState state = SoakState::silent;
    std::uint64_t blocks = 0;
    int peak = 0;            ///< lately
    int loudestPeak = 0;     ///< ever
    bool associated = false; ///< an echo reference was asked for
    std::uint64_t withReference = 0;
    std::uint64_t withoutReference = 0;
    int stalls = 0;
    double openGapMilliseconds = 0; ///< how long a stalled device has given nothing
    IntervalStatistics intervals;

    double longestGapMilliseconds() const { return std::max(intervals.maxMilliseconds(), openGapMilliseconds); }
};

/** For a table that nobody looks at on a terminal: names are not cut. */
inline constexpr std::size_t kAnyWidth = 1000;

/** A heading and a line per device, columns aligned; names are cut to what a line of `width` characters leaves. */
std::vector<std::string> soakTable(std::span<const SoakRow> rows, std::size_t width);

} // namespace soundcheck
