/**
 * @file
 * Finds the marks of the probe in a recording. Pure.
 */
#pragma once

#include "loopback/loop_result.h"
#include "loopback/probe_signal.h"

#include <cstddef>
#include <vector>

namespace soundcheck {

struct FoundMark {
    std::size_t mark = 0;
    double frame = 0; ///< of the recording: the peak of the first impulse, exact to a tenth of a frame
};

/** In the order of the recording, which is that of the marks. */
std::vector<FoundMark> findMarks(const LoopRecording& recording);

} // namespace soundcheck
