#pragma once

#include "discovery/device_entry.h"
#include "orvosoundbackend.h"

namespace directsound {

/// Describes a device to the client. The record is zeroed first. Returns 0, ORVO_GUID_TO_STRING (told on standard
/// output), or the negative result of the identifier's conversion (told on standard error).
[[nodiscard]] BackendResult describeDevice(const DeviceEntry& entry, DeviceInfoRecord& record);

} // namespace directsound
