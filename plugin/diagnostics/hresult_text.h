#pragma once

#include <windows.h>

#include <string>

namespace directsound {

/// An HRESULT as UTF-8 text; never empty.
///
/// DirectSound and audio-client values have fixed texts. Every other value yields the system's message, a NUL byte,
/// and " (" + the value in signed decimal + ")": readers of a terminated text see the message alone.
[[nodiscard]] std::string hresultText(HRESULT hr);

} // namespace directsound
