#include "commands/device_list.h"

#include "platform/text.h"

namespace soundcheck {

std::string_view directionName(DeviceDirection direction) {
    return direction == ORVO_PLAYBACK ? "playback" : "capture";
}

std::string printableName(const std::string& name) {
    return toUtf8(toWide(name));
}

std::string deviceLine(const DeviceEntry& device) {
    const std::string number = std::to_string(device.number);
    return std::string(number.size() < 3 ? 3 - number.size() : 0, ' ') + number + (device.isDefault ? " * " : "   ") +
           device.id + "  " + printableName(device.name);
}

Json deviceJson(const DeviceEntry& device) {
    return {{"number", device.number},
            {"id", device.id},
            {"name", printableName(device.name)},
            {"default", device.isDefault}};
}

void printDevices(Console& console, DeviceDirection direction, const std::vector<DeviceEntry>& devices) {
    console.line(std::string(directionName(direction)) + " devices");
    for (const DeviceEntry& device : devices)
        console.line(deviceLine(device));
    if (devices.empty())
        console.line("  none");
}

Json devicesJson(const std::vector<DeviceEntry>& devices) {
    Json list = Json::array();
    for (const DeviceEntry& device : devices)
        list.push_back(deviceJson(device));
    return list;
}

} // namespace soundcheck
