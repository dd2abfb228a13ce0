#include "diagnostics/text_conversion.h"

#include "diagnostics/last_error_text.h"
#include "diagnostics/sinks.h"
#include "orvosoundbackend.h"

namespace directsound {
namespace {

/// Passes a conversion's result on, or reports the thread's last error. To be called right after the conversion.
int checked(int converted) {
    if (converted != 0)
        return converted;
    if (GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
        writeErrorLine("buffer too small");
        return ORVO_INIT_IMPL;
    }
    writeErrorLine(lastErrorText());
    return ORVO_OS_ERROR;
}

} // namespace

int utf8ToUtf16(const char* source, int sourceLength, wchar_t* destination, int capacity) {
    return checked(MultiByteToWideChar(CP_UTF8, 0, source, sourceLength, destination, capacity));
}

int utf16ToUtf8(const wchar_t* source, int sourceLength, char* destination, int capacity) {
    return checked(WideCharToMultiByte(CP_UTF8, 0, source, sourceLength, destination, capacity, nullptr, nullptr));
}

} // namespace directsound
