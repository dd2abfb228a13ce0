#pragma once

#include "platform/memory.h"

#include <windows.h>

#include <string>

namespace directsound {

/// The system's message for an error number or HRESULT, as the system words it; null if it has none.
[[nodiscard]] UniqueLocal<wchar_t> systemMessage(DWORD number);

/// The calling thread's last system error as UTF-8: "error " + number + ": " + the system's message.
[[nodiscard]] std::string lastErrorText();

} // namespace directsound
