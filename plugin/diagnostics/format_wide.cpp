#include "diagnostics/format_wide.h"

#include <cstdarg>
#include <cwchar>

namespace directsound {
namespace {

constexpr std::size_t kMaxCapacity = 2147483647;
// HRESULT_FROM_WIN32 is no constant expression in every SDK.
constexpr auto kInvalidParameter = static_cast<HRESULT>(0x80070057);   // ERROR_INVALID_PARAMETER
constexpr auto kInsufficientBuffer = static_cast<HRESULT>(0x8007007A); // ERROR_INSUFFICIENT_BUFFER

} // namespace

HRESULT formatWide(wchar_t* buffer, std::size_t capacity, const wchar_t* format, ...) {
    if (capacity == 0)
        return kInvalidParameter;
    buffer[0] = L'\0';
    if (capacity - 1 >= kMaxCapacity)
        return kInvalidParameter;

    va_list values; // NOLINT(cppcoreguidelines-init-variables): va_start does it
    va_start(values, format);
    // The system's own formatter: the standard one reads %s as narrow text on some runtimes.
    const int written = _vsnwprintf(buffer, capacity - 1, format, values);
    va_end(values);

    buffer[capacity - 1] = L'\0';
    return written < 0 ? kInsufficientBuffer : S_OK;
}

} // namespace directsound
