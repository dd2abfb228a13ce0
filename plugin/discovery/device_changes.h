#pragma once

#include "discovery/device_entry.h"
#include "orvosoundbackend.h"

#include <optional>
#include <vector>

namespace directsound {

/// What is different between two lists of one direction, each group in GUID order.
struct DeviceChanges {
    std::vector<GUID> added;
    std::vector<GUID> removed;
    std::optional<GUID> newDefault;
};

/// Compares by GUID and default mark; a changed name is no change. `defaultGuid` is the default in `now`.
[[nodiscard]] DeviceChanges compareDevices(const DeviceMap& before, const DeviceMap& now, const GUID& defaultGuid);

/// Tells the client, in the order that it may rely on: added devices, the new default, removed devices.
/// Called with no lock held; the client may call back in.
void notifyChanges(const BackendCallbacks& callbacks, const DeviceChanges& changes, DeviceDirection direction);

} // namespace directsound
