#include "discovery/device_changes.h"

#include "discovery/device_identifier.h"

namespace directsound {

DeviceChanges compareDevices(const DeviceMap& before, const DeviceMap& now, const GUID& defaultGuid) {
    DeviceChanges changes;
    for (const auto& [guid, entry] : before)
        if (!now.contains(guid))
            changes.removed.push_back(guid);
    for (const auto& [guid, entry] : now)
        if (!before.contains(guid))
            changes.added.push_back(guid);

    const auto old = before.find(defaultGuid);
    if (old == before.end() || !old->second.isDefault)
        changes.newDefault = defaultGuid;
    return changes;
}

void notifyChanges(const BackendCallbacks& callbacks, const DeviceChanges& changes, DeviceDirection direction) {
    const auto notify = [&callbacks](std::int32_t event, const GUID& guid, std::int32_t value) {
        callbacks.notifyDeviceChange(callbacks.clientContext, event, deviceIdentifier(guid).data(), value);
    };
    for (const GUID& guid : changes.added) {
        notify(ORVO_EVENT_DEVICE_ADDED, guid, direction);
        notify(ORVO_EVENT_DEVICE_STATE, guid, ORVO_STATE_ACTIVE);
    }
    if (changes.newDefault)
        notify(ORVO_EVENT_DEFAULT_CHANGED, *changes.newDefault, direction);
    for (const GUID& guid : changes.removed) {
        notify(ORVO_EVENT_DEVICE_STATE, guid, ORVO_STATE_NOT_PRESENT);
        notify(ORVO_EVENT_DEVICE_REMOVED, guid, direction);
    }
}

} // namespace directsound
