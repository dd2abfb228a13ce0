/**
 * @file
 * Several devices of both directions, as the repeatable option --device names them. A pure function of the lists.
 */
#pragma once

#include "client/backend.h"

#include <span>
#include <string>
#include <vector>

namespace soundcheck {

inline constexpr const char* kPickHelp =
    "A device as in the other commands, of each direction where it fits exactly one; with playback: or capture: "
    "before it of that direction only. Repeatable; default: all devices";

struct PickedDevice {
    DeviceDirection direction = ORVO_PLAYBACK;
    DeviceEntry entry;
};

/**
 * @param wanted empty: all devices
 * @return playback devices first, each one once, in the order of the lists
 * @throws SelectionError when a text names no device, in either direction
 */
std::vector<PickedDevice> pickDevices(std::span<const DeviceEntry> playback, std::span<const DeviceEntry> capture,
                                      std::span<const std::string> wanted);

/** The same from the lists of a backend. Throws Failure when there is no device at all. */
std::vector<PickedDevice> pickDevices(const Backend& backend, std::span<const std::string> wanted);

} // namespace soundcheck
