#include "platform/system_info.h"

#include "platform/text.h"

#include <windows.h>

#include <vector>

namespace soundcheck {
namespace {

template <typename Function>
Function systemFunction(const wchar_t* module, const char* name) {
    const HMODULE loaded = GetModuleHandleW(module);
    if (loaded == nullptr)
        return nullptr;
    // By way of the type that stands for any function: the compiler objects to a direct cast.
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(loaded, name)));
}

std::string digits(unsigned value, std::size_t count) {
    const std::string text = std::to_string(value);
    return std::string(text.size() < count ? count - text.size() : 0, '0') + text;
}

std::string timeOfDay(const SYSTEMTIME& time) {
    return digits(time.wHour, 2) + ":" + digits(time.wMinute, 2) + ":" + digits(time.wSecond, 2);
}

} // namespace

std::string utcTimeText() {
    SYSTEMTIME time{};
    GetSystemTime(&time);
    return digits(time.wYear, 4) + "-" + digits(time.wMonth, 2) + "-" + digits(time.wDay, 2) + "T" + timeOfDay(time) +
           "Z";
}

std::string localTimeText() {
    SYSTEMTIME time{};
    GetLocalTime(&time);
    return timeOfDay(time) + "." + digits(time.wMilliseconds, 3);
}

std::string windowsVersion() {
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    const auto getVersion = systemFunction<LONG(WINAPI*)(OSVERSIONINFOW*)>(L"ntdll.dll", "RtlGetVersion");
    if (getVersion == nullptr || getVersion(&version) != 0)
        return "unknown";
    return std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) + "." +
           std::to_string(version.dwBuildNumber);
}

std::optional<std::string> wineVersion() {
    const auto getVersion = systemFunction<const char*(CDECL*)()>(L"ntdll.dll", "wine_get_version");
    if (getVersion == nullptr)
        return std::nullopt;
    return getVersion();
}

std::optional<std::string> fileVersion(const std::filesystem::path& module) {
    DWORD unused = 0;
    const DWORD size = GetFileVersionInfoSizeW(module.c_str(), &unused);
    if (size == 0)
        return std::nullopt;
    std::vector<unsigned char> resource(size);
    void* found = nullptr;
    UINT length = 0;
    if (!GetFileVersionInfoW(module.c_str(), 0, size, resource.data()) ||
        !VerQueryValueW(resource.data(), L"\\", &found, &length) || length < sizeof(VS_FIXEDFILEINFO))
        return std::nullopt;
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(found);
    return std::to_string(HIWORD(fixed->dwFileVersionMS)) + "." + std::to_string(LOWORD(fixed->dwFileVersionMS)) +
           "." + std::to_string(HIWORD(fixed->dwFileVersionLS)) + "." +
           std::to_string(LOWORD(fixed->dwFileVersionLS));
}

std::filesystem::path programFolder() {
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, text.data(), static_cast<DWORD>(text.size()));
        if (length < text.size()) {
            text.resize(length);
            return std::filesystem::path(text).parent_path();
        }
        text.resize(text.size() * 2);
    }
}

std::string systemErrorText(unsigned long error) {
    std::wstring text(512, L'\0');
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                                        text.data(), static_cast<DWORD>(text.size()), nullptr);
    text.resize(length);
    while (!text.empty() &&
           (text.back() == L'\n' || text.back() == L'\r' || text.back() == L'.' || text.back() == L' '))
        text.pop_back();
    if (text.empty())
        text = L"system error";
    return toUtf8(text) + " (" + std::to_string(error) + ")";
}

} // namespace soundcheck
