#pragma once

#include "orvosoundbackend.h"

namespace directsound {

/// Text of a code that all sound backends of the client share. Total: "unknown error" for every other code.
[[nodiscard]] const char* genericResultText(BackendResult code);

/// Text of a DirectSound code, or "unknown error".
[[nodiscard]] const char* directSoundResultText(BackendResult code);

/// Text of any code, as the client and the log lines see it. A static constant.
[[nodiscard]] const char* resultText(BackendResult code);

} // namespace directsound
