// What the scenarios of device discovery share.
#pragma once

#include "scenario.h"

#include <string>
#include <vector>

namespace scenario {

// The monitor wakes every 1000 ms and rescans when more than a second has passed. Where time is exact, that is at
// every second wake: at 2000, 4000, ...
inline constexpr double kUntilRescan = 2001;

inline std::vector<std::string> ids(const std::vector<ListedDevice>& devices) {
    std::vector<std::string> found;
    found.reserve(devices.size());
    for (const ListedDevice& device : devices)
        found.push_back(device.id);
    return found;
}

inline std::vector<std::string> names(const std::vector<ListedDevice>& devices) {
    std::vector<std::string> found;
    found.reserve(devices.size());
    for (const ListedDevice& device : devices)
        found.push_back(device.name);
    return found;
}

// The lengths of the names, as the records tell.
inline std::vector<unsigned> nameLengths(const std::vector<ListedDevice>& devices) {
    std::vector<unsigned> found;
    found.reserve(devices.size());
    for (const ListedDevice& device : devices)
        found.push_back(device.record.nameLength);
    return found;
}

using Texts = std::vector<std::string>;

} // namespace scenario
