#pragma once

namespace directsound {

/// Converts UTF-8 to UTF-16.
///
/// `sourceLength` is in bytes, -1 for a terminated source; `capacity` is in units of the destination. Returns the
/// units written, the terminator included when the source length is -1. Failures return ORVO_INIT_IMPL when the
/// destination is too small and ORVO_OS_ERROR otherwise, and are told on standard error.
int utf8ToUtf16(const char* source, int sourceLength, wchar_t* destination, int capacity);

/// Converts UTF-16 to UTF-8; as utf8ToUtf16, with the units exchanged.
int utf16ToUtf8(const wchar_t* source, int sourceLength, char* destination, int capacity);

/// Whether the result of a conversion is a failure.
[[nodiscard]] constexpr bool conversionFailed(int result) {
    return result < 0;
}

} // namespace directsound
