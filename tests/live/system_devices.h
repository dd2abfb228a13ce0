// What the system itself says about its sound devices.
#pragma once

#include "orvosoundbackend.h"

#include <windows.h>

#include <string>
#include <vector>

namespace live {

struct SystemDevice {
    GUID guid;
    std::string id; ///< the GUID's text
    std::string name;
};

/// The system's own enumeration, without the entry that has no GUID, in the order of the GUIDs.
std::vector<SystemDevice> systemDevices(DeviceDirection direction);

/// The default voice device's GUID text.
std::string systemDefault(DeviceDirection direction);

/// Sets the default voice device for as long as it lives, for running processes too.
class DefaultVoiceDevice {
public:
    DefaultVoiceDevice(DeviceDirection direction, const std::string& id);
    ~DefaultVoiceDevice();
    DefaultVoiceDevice(const DefaultVoiceDevice&) = delete;
    DefaultVoiceDevice& operator=(const DefaultVoiceDevice&) = delete;

private:
    const wchar_t* m_value;
};

} // namespace live
