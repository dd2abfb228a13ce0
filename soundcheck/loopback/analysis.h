/**
 * @file
 * What a recording of the probe tells about the loopback. Pure: the same recording gives the same result.
 */
#pragma once

#include "loopback/loop_result.h"
#include "loopback/probe_signal.h"

namespace soundcheck {

/** @param played the probe as it was played, at the playback device's rate */
LoopResult analyse(const LoopRecording& recording, const ProbeSignal& played);

} // namespace soundcheck
