#pragma once

#include "orvosoundbackend.h"

#include <cstddef>

namespace directsound {

[[nodiscard]] constexpr bool isDirection(DeviceDirection direction) {
    return direction == ORVO_PLAYBACK || direction == ORVO_CAPTURE;
}

/// Position of a direction in a pair of things, playback first. Only for a valid direction.
[[nodiscard]] constexpr std::size_t indexOf(DeviceDirection direction) {
    return static_cast<std::size_t>(direction - 1);
}

} // namespace directsound
