// What the plug-in's threads and events are for, told from how a clean run uses them.
#pragma once

#include "enumeration.h"

#include <string_view>

namespace sweep {

bool isClient(std::string_view thread);
// The thread that looks for devices and ends the closed ones.
bool isMonitor(std::string_view thread, const Calls& calls);
// A device's.
bool isWorker(std::string_view thread, const Calls& calls);

enum class EventRole {
    command, // of a device, to its worker
    reply,   // of a device, to the client
    wake,    // of the monitor
    done,    // tells that closed devices are gone
    idle,    // tells that nobody is inside the DSP lock
};
EventRole roleOf(std::string_view event, const Calls& calls);

} // namespace sweep
