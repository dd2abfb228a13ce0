/**
 * @file
 * The devices as `list` and `watch` show them: a line per device, and the same for the document. Pure, but for the
 * console.
 */
#pragma once

#include "client/backend.h"
#include "console/console.h"
#include "report/document.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace soundcheck {

inline constexpr std::array<DeviceDirection, 2> kDirections = {ORVO_PLAYBACK, ORVO_CAPTURE};

/** "playback", "capture". */
std::string_view directionName(DeviceDirection direction);

/** A name as text: the plug-in may cut it inside a character, and the rest becomes a replacement. */
std::string printableName(const std::string& name);

/** "  1 * {...}  Speaker"; * marks the default voice device. */
std::string deviceLine(const DeviceEntry& device);

/** `{"number": 1, "id": "{...}", "name": "Speaker", "default": true}` */
Json deviceJson(const DeviceEntry& device);

/** A title, and a line per device. */
void printDevices(Console& console, DeviceDirection direction, const std::vector<DeviceEntry>& devices);

/** The same as an array. */
Json devicesJson(const std::vector<DeviceEntry>& devices);

} // namespace soundcheck
