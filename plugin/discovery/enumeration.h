#pragma once

#include "orvosoundbackend.h"

namespace directsound {

class DeviceMonitor;

/// Calls the client once per device, in GUID order, with no lock held. Stops at the first device that cannot be
/// described, and returns that failure.
[[nodiscard]] BackendResult enumDevices(const DeviceMonitor& monitor, DeviceDirection direction,
                                        EnumDevicesCallback callback, void* userValue);

/// Describes the default voice-communication device, or returns ORVO_NO_DEFAULT_FOUND and leaves the record alone.
/// `record` may be null as long as there is no default.
[[nodiscard]] BackendResult getDefaultDevice(const DeviceMonitor& monitor, DeviceDirection direction,
                                             DeviceInfoRecord* record);

} // namespace directsound
