/**
 * @file
 * Conversion between UTF-8, which soundcheck and the plug-in speak, and UTF-16, which Windows speaks.
 * Pure functions. Malformed input becomes replacement characters and is never an error: device names may be cut
 * in the middle of a character.
 */
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace soundcheck {

std::wstring toWide(std::string_view utf8);
std::string toUtf8(std::wstring_view utf16);

/** Lower case by the rules of no particular language, for comparing names. */
std::wstring toLower(std::wstring_view text);

inline std::filesystem::path toPath(std::string_view utf8) {
    return {toWide(utf8)};
}
inline std::string pathText(const std::filesystem::path& path) {
    return toUtf8(path.native());
}

/** A number with a fixed count of decimals and a point, whatever the locale. */
std::string fixedDecimals(double value, int decimals);

} // namespace soundcheck
