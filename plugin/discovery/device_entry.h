#pragma once

#include <windows.h>

#include <algorithm>
#include <map>
#include <string>

namespace directsound {

/// One device of the system.
struct DeviceEntry {
    GUID guid;
    std::string name; ///< The system's description, UTF-8.
    bool isDefault;   ///< Whether it is the default voice-communication device of its direction.
};

/// Orders GUIDs by their fields as unsigned numbers, the way their texts order.
struct GuidLess {
    bool operator()(const GUID& left, const GUID& right) const {
        if (left.Data1 != right.Data1)
            return left.Data1 < right.Data1;
        if (left.Data2 != right.Data2)
            return left.Data2 < right.Data2;
        if (left.Data3 != right.Data3)
            return left.Data3 < right.Data3;
        return std::lexicographical_compare(std::begin(left.Data4), std::end(left.Data4), std::begin(right.Data4),
                                            std::end(right.Data4));
    }
};

/// The devices of one direction.
using DeviceMap = std::map<GUID, DeviceEntry, GuidLess>;

} // namespace directsound
