/**
 * @file
 * The traces of all devices of a run, for the pictures of its report. Empty until it is asked to keep any.
 *
 * Thread: any, but for what `begin` returns: see DeviceTrace. Ownership: owns the traces; outlives the session that
 * fills them.
 */
#pragma once

#include "orvosoundbackend.h"
#include "streams/device_trace.h"

#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace soundcheck {

class TraceBook {
public:
    static constexpr std::size_t kMostDevices = 64;

    /** From now on devices are traced. */
    void keep() { m_keeps = true; }

    /** A device is opened; the same device again goes on in the same trace. @return null: it is not traced */
    DeviceTrace* begin(DeviceDirection direction, const std::string& id, const std::string& name);

    /** Those that have come to an end, in the order of their first opening. */
    std::vector<const DeviceTrace*> ended() const;

private:
    bool m_keeps = false;
    mutable std::mutex m_mutex; ///< guards what follows
    std::list<DeviceTrace> m_traces;
    std::map<std::pair<DeviceDirection, std::string>, DeviceTrace*> m_byDevice;
};

} // namespace soundcheck
