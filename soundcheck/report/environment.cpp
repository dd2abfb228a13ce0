#include "report/environment.h"

#include "platform/system_info.h"
#include "platform/text.h"

#include <windows.h>

#include <array>
#include <cstdio>

namespace soundcheck {
namespace {

nlohmann::ordered_json orNull(const std::optional<std::string>& text) {
    return text ? nlohmann::ordered_json(*text) : nlohmann::ordered_json(nullptr);
}

std::string utcTime() {
    SYSTEMTIME time{};
    GetSystemTime(&time);
    std::array<char, 40> text{};
    const int length = std::snprintf(text.data(), text.size(), "%04u-%02u-%02uT%02u:%02u:%02uZ", unsigned{time.wYear},
                                     unsigned{time.wMonth}, unsigned{time.wDay}, unsigned{time.wHour},
                                     unsigned{time.wMinute}, unsigned{time.wSecond});
    return {text.data(), static_cast<std::size_t>(length)};
}

} // namespace

nlohmann::ordered_json environmentOfSystem() {
    return {{"time", utcTime()}, {"windows", windowsVersion()}, {"wine", orNull(wineVersion())}, {"plugin", nullptr}};
}

nlohmann::ordered_json environmentOfPlugin(const Library& library) {
    const std::filesystem::path file = library.path();
    return {{"name", library.exports().orvosoundbackend_getInfo()->name},
            {"version", orNull(fileVersion(file))},
            {"path", pathText(file)}};
}

} // namespace soundcheck
