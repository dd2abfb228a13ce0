#pragma once

#include "orvosoundbackend.h"

#include <windows.h>

#include <string>

namespace directsound {

/// What became of an identifier text: `result` is 0, ORVO_DEVICE_GUID with the reason in `hr`, or the negative result
/// of its conversion to UTF-16, which has already been told on standard error.
struct DeviceGuid {
    BackendResult result;
    HRESULT hr;
    GUID guid;
};

/// Parses a device identifier.
[[nodiscard]] DeviceGuid parseDeviceGuid(const std::string& deviceId);

} // namespace directsound
