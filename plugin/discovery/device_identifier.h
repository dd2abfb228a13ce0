#pragma once

#include <windows.h>

#include <array>

namespace directsound {

using DeviceIdentifier = std::array<char, 512>;

/// The identifier text of a device, terminated; empty when the system cannot make one.
[[nodiscard]] DeviceIdentifier deviceIdentifier(const GUID& guid);

} // namespace directsound
