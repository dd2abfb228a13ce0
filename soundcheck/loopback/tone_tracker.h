/**
 * @file
 * Follows the sines of the probe through a recording. Where it departs from what they predict, something happened;
 * the phases behind it tell by how many frames everything has moved. Pure.
 */
#pragma once

#include "loopback/loop_result.h"
#include "loopback/probe_signal.h"
#include "loopback/tone_fitter.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace soundcheck {

/** What the sines tell. */
struct ToneTrack {
    std::size_t begin = 0; ///< frames of the recording that were followed
    std::size_t end = 0;
    double driftPpm = 0; ///< without what was dropped and added
    std::vector<Disturbance> disturbances;
    std::vector<std::vector<Phasor>> tones; ///< per channel of the recording and sine of the probe
};

/**
 * Follows the sines from the first clean stretch in [begin, end) on; what is added or dropped moves the end.
 * @param probe at the recording's rate
 * @return nothing when there is no clean stretch
 */
std::optional<ToneTrack> followTones(const LoopRecording& recording, const ProbeSignal& probe, std::size_t begin,
                                     std::size_t end);

} // namespace soundcheck
