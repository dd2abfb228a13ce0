#pragma once

#include <windows.h>

#include <cstddef>

namespace directsound {

/// Formats wide text into `buffer` of `capacity` units and always terminates it. `%s` means a wide text.
///
/// Returns 0; 0x80070057 for a capacity of 0 (nothing is written) or beyond 2147483647; 0x8007007A when the text
/// was cut. The contract is that of the platform's StringCchPrintfW.
HRESULT formatWide(wchar_t* buffer, std::size_t capacity, const wchar_t* format, ...);

} // namespace directsound
