#include "system_devices.h"

// DirectSound's header leans on the multimedia one, which windows.h leaves out when it is kept lean.
// clang-format off
#include <mmsystem.h>
#include <dsound.h>
// clang-format on

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <tuple>

namespace live {
namespace {

constexpr wchar_t kDriverKey[] = L"Software\\Wine\\Drivers\\winepulse.drv";

std::string utf8(const std::wstring& text) {
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(), length, nullptr,
                        nullptr);
    return result;
}

std::string textOf(const GUID& guid) {
    wchar_t text[64];
    EXPECT_GT(StringFromGUID2(guid, text, 64), 0);
    return utf8(text);
}

BOOL CALLBACK collect(GUID* guid, const wchar_t* description, const wchar_t*, void* list) {
    if (guid != nullptr)
        static_cast<std::vector<SystemDevice>*>(list)->push_back({*guid, textOf(*guid), utf8(description)});
    return TRUE;
}

} // namespace

std::vector<SystemDevice> systemDevices(DeviceDirection direction) {
    std::vector<SystemDevice> devices;
    const HRESULT result = direction == ORVO_PLAYBACK ? DirectSoundEnumerateW(collect, &devices)
                                                      : DirectSoundCaptureEnumerateW(collect, &devices);
    EXPECT_EQ(result, DS_OK);
    std::ranges::sort(devices, [](const SystemDevice& one, const SystemDevice& other) {
        const auto key = [](const GUID& g) { return std::tuple(g.Data1, g.Data2, g.Data3, std::to_array(g.Data4)); };
        return key(one.guid) < key(other.guid);
    });
    return devices;
}

std::string systemDefault(DeviceDirection direction) {
    GUID guid{};
    const GUID& role = direction == ORVO_PLAYBACK ? DSDEVID_DefaultVoicePlayback : DSDEVID_DefaultVoiceCapture;
    EXPECT_EQ(GetDeviceID(&role, &guid), DS_OK);
    return textOf(guid);
}

DefaultVoiceDevice::DefaultVoiceDevice(DeviceDirection direction, const std::string& id)
    : m_value(direction == ORVO_PLAYBACK ? L"DefaultVoiceOutput" : L"DefaultVoiceInput") {
    const std::wstring data = (direction == ORVO_PLAYBACK ? L"{0.0.0.00000000}." : L"{0.0.1.00000000}.") +
                              std::wstring(id.begin(), id.end());
    const auto bytes = static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t));
    EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, kDriverKey, m_value, REG_SZ, data.c_str(), bytes), ERROR_SUCCESS);
}

DefaultVoiceDevice::~DefaultVoiceDevice() {
    EXPECT_EQ(RegDeleteKeyValueW(HKEY_CURRENT_USER, kDriverKey, m_value), ERROR_SUCCESS);
}

} // namespace live
