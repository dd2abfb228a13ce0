// Sweeps a session in a process of its own and survives what happens to that.
#pragma once

#include "sessions.h"

#include <cstddef>

namespace sweep {

// Prints how many faults were tried. A fault that crashes or hangs the process is printed with its words and counted
// as failed; the sweep goes on behind it in a new process. True: all faults were tried, and all are well.
bool superviseSweep(const Session& session, std::size_t atMost);

} // namespace sweep
