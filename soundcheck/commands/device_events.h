/**
 * @file
 * The device changes that the plug-in reports, from its monitor thread to the main thread. They gather from the
 * first moment of the backend: who lists the devices afterwards misses nothing in between.
 *
 * Thread: `add` on the plug-in's monitor thread, `take` on the main thread.
 */
#pragma once

#include "orvosoundbackend.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace soundcheck {

struct DeviceEvent {
    std::chrono::steady_clock::time_point time;
    std::string clock; ///< local time of day, "12:34:56.789"
    DeviceEventCode code;
    std::string deviceId;
    std::int32_t value; ///< a direction or a state, as the code says
};

class DeviceEvents {
public:
    void add(DeviceEvent event);
    /** What came since the last call, in order. */
    std::vector<DeviceEvent> take();

private:
    std::mutex m_mutex;
    std::vector<DeviceEvent> m_events; ///< guarded by m_mutex
};

} // namespace soundcheck
