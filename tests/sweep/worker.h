// Runs the faults of a session, one after the other, in this process.
#pragma once

#include "progress.h"
#include "sessions.h"

#include <cstddef>
#include <string_view>

namespace sweep {

// From the fault that `progress` names on, as many as one process should run. Each bad one is printed with its words
// and counted. False: the clean run is bad, so that there is nothing to compare with.
bool runFaults(const Session& session, std::size_t atMost, Progress& progress);
// One fault, with everything that the simulator has to say about it. False: it failed, or the words are none.
bool replay(std::string_view words);
// The words of all faults of a session.
bool list(const Session& session);

} // namespace sweep
