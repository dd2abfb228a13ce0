#include "platform/text.h"

#include <windows.h>

#include <array>
#include <charconv>

namespace soundcheck {

std::wstring toWide(std::string_view utf8) {
    const int length = static_cast<int>(utf8.size());
    const int needed = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, result.data(), needed);
    return result;
}

std::string toUtf8(std::wstring_view utf16) {
    const int length = static_cast<int>(utf16.size());
    const int needed = WideCharToMultiByte(CP_UTF8, 0, utf16.data(), length, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(CP_UTF8, 0, utf16.data(), length, result.data(), needed, nullptr, nullptr);
    return result;
}

std::wstring toLower(std::wstring_view text) {
    if (text.empty())
        return {};
    const int length = static_cast<int>(text.size());
    std::wstring result(text.size(), L'\0');
    const int written = LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_LOWERCASE, text.data(), length, result.data(),
                                      length, nullptr, nullptr, 0);
    return written == length ? result : std::wstring(text);
}

std::string fixedDecimals(double value, int decimals) {
    std::array<char, 400> buffer{}; // the largest double has 309 digits before its point
    const auto [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, decimals);
    return error == std::errc() ? std::string(buffer.data(), end) : std::string("?");
}

} // namespace soundcheck
