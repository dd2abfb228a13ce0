#include "diagnostics/last_error_text.h"

#include "diagnostics/format_wide.h"

#include <cwchar>

namespace directsound {
namespace {

constexpr DWORD kLanguageNeutralDefault = 0x400;
constexpr std::size_t kRoomForNumber = 40;

std::string toUtf8(const wchar_t* text) {
    const int length = static_cast<int>(std::wcslen(text));
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
    std::string result(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    if (!result.empty())
        WideCharToMultiByte(CP_UTF8, 0, text, length, result.data(), size, nullptr, nullptr);
    return result;
}

} // namespace

UniqueLocal<wchar_t> systemMessage(DWORD number) {
    wchar_t* message = nullptr;
    // With FORMAT_MESSAGE_ALLOCATE_BUFFER the function wants the address of a pointer where its type says text.
    FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                   nullptr, number, kLanguageNeutralDefault, reinterpret_cast<wchar_t*>(&message), 0, nullptr);
    return UniqueLocal<wchar_t>(message);
}

std::string lastErrorText() {
    const DWORD number = GetLastError();
    const UniqueLocal<wchar_t> message = systemMessage(number);
    const wchar_t* words = message ? message.get() : L"no message";

    const std::size_t capacity = std::wcslen(words) + kRoomForNumber;
    const UniqueLocal<wchar_t> text(static_cast<wchar_t*>(LocalAlloc(LPTR, capacity * sizeof(wchar_t))));
    if (!text)
        return "error " + std::to_string(static_cast<int>(number));
    formatWide(text.get(), capacity, L"error %d: %s", static_cast<int>(number), words);
    return toUtf8(text.get());
}

} // namespace directsound
