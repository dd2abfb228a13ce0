#pragma once

#include "discovery/device_entry.h"

#include <windows.h>

#include <array>

namespace directsound {

constexpr std::size_t kDirections = 2; ///< Playback first, capture second.

using DeviceMaps = std::array<DeviceMap, kDirections>;
using DefaultGuids = std::array<GUID, kDirections>;

/// Lists the devices that DirectSound reports, none marked as default. Entries without GUID or description, and those
/// whose description does not fit into 255 bytes, are left out; of two with one GUID the first counts.
/// False when a direction cannot be listed.
[[nodiscard]] bool listSystemDevices(DeviceMaps& devices);

/// Asks for the default voice-communication devices. False when either is not known.
[[nodiscard]] bool readDefaultVoiceDevices(DefaultGuids& guids);

} // namespace directsound
