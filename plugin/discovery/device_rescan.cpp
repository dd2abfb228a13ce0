// The monitor's rescan: what the system has now, held against what the monitor knows.

#include "discovery/device_changes.h"
#include "discovery/device_monitor.h"

#include <mutex>

namespace directsound {
namespace {

/// Marks the default device of each direction. False when a default is not in its list.
bool markDefaults(DeviceMaps& devices, const DefaultGuids& defaults) {
    for (std::size_t direction = 0; direction < devices.size(); ++direction) {
        const auto found = devices[direction].find(defaults[direction]);
        if (found == devices[direction].end())
            return false;
        found->second.isDefault = true;
    }
    return true;
}

} // namespace

void DeviceMonitor::rescan(Scan scan) {
    if (!listingNeeded(scan))
        return;
    DeviceMaps found;
    // A list that is not whole is worth nothing: the old one stays.
    if (!listSystemDevices(found) || !markDefaults(found, m_DefaultGuids))
        return;
    if (scan == Scan::Initial) {
        const std::lock_guard guard(m_Lock);
        m_Devices.swap(found);
        return;
    }
    adopt(found);
}

bool DeviceMonitor::listingNeeded(Scan scan) {
    const bool initial = scan == Scan::Initial;
    const auto [countsChanged, defaultChanged] = m_DefaultWatch->look();
    if (!initial && !countsChanged && !defaultChanged)
        return false;
    if (!initial && !defaultChanged)
        return true; // an older system whose defaults are the same as before

    DefaultGuids defaults{};
    if (!readDefaultVoiceDevices(defaults))
        return false;
    const bool same = IsEqualGUID(defaults[0], m_DefaultGuids[0]) && IsEqualGUID(defaults[1], m_DefaultGuids[1]);
    if (same && !initial && !countsChanged)
        return false;
    m_DefaultGuids = defaults;
    return true;
}

void DeviceMonitor::adopt(DeviceMaps& found) {
    std::array<DeviceChanges, kDirections> changes;
    {
        const std::lock_guard guard(m_Lock);
        for (std::size_t direction = 0; direction < found.size(); ++direction)
            changes[direction] = compareDevices(m_Devices[direction], found[direction], m_DefaultGuids[direction]);
        m_Devices.swap(found);
    }
    notifyChanges(m_Callbacks, changes[0], ORVO_PLAYBACK);
    notifyChanges(m_Callbacks, changes[1], ORVO_CAPTURE);
}

} // namespace directsound
