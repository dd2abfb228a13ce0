/**
 * @file
 * The parts of a recording in which the probe is silent: between the marks, and in the pause behind the sines. They
 * tell the noise floor, and pops that stand alone. Pure.
 */
#pragma once

#include "loopback/loop_result.h"
#include "loopback/mark_finder.h"
#include "loopback/probe_signal.h"

#include <vector>

namespace soundcheck {

/** Sets the noise of all channels and adds the pops. @param probe at the recording's rate */
void judgeQuietParts(LoopResult& result, const LoopRecording& recording, const ProbeSignal& probe,
                     const std::vector<FoundMark>& marks);

} // namespace soundcheck
