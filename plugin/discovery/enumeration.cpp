#include "discovery/enumeration.h"

#include "discovery/device_info_record.h"
#include "discovery/device_monitor.h"

#include <algorithm>

namespace directsound {

BackendResult enumDevices(const DeviceMonitor& monitor, DeviceDirection direction, EnumDevicesCallback callback,
                          void* userValue) {
    DeviceInfoRecord record{};
    for (const auto& [guid, entry] : monitor.devices(direction)) {
        if (const BackendResult result = describeDevice(entry, record); result != ORVO_OK)
            return result;
        callback(&record, userValue);
    }
    return ORVO_OK;
}

BackendResult getDefaultDevice(const DeviceMonitor& monitor, DeviceDirection direction, DeviceInfoRecord* record) {
    const DeviceMap devices = monitor.devices(direction);
    const auto marked =
        std::ranges::find_if(devices, [](const DeviceMap::value_type& device) { return device.second.isDefault; });
    if (marked == devices.end())
        return ORVO_NO_DEFAULT_FOUND;
    return record == nullptr ? ORVO_INVALID_PARAM : describeDevice(marked->second, *record);
}

} // namespace directsound
