#pragma once

#include "orvosoundbackend.h"

namespace directsound {

/// Whether DirectSound's enumeration runs at all; no device needs to exist. Any thread, with or without a backend.
[[nodiscard]] BackendResult checkSupport();

} // namespace directsound
