#include "discovery/system_devices.h"

#include "diagnostics/text_conversion.h"
#include "platform/directsound.h"

#include <new>

namespace directsound {
namespace {

constexpr GUID kDefaultVoicePlayback{0xDEF00002, 0x9C6D, 0x47ED, {0xAA, 0xF1, 0x4D, 0xDA, 0x8F, 0x2B, 0x5C, 0x03}};
constexpr GUID kDefaultVoiceCapture{0xDEF00003, 0x9C6D, 0x47ED, {0xAA, 0xF1, 0x4D, 0xDA, 0x8F, 0x2B, 0x5C, 0x03}};

constexpr int kNameCapacity = 255;

struct Listing {
    DeviceMap& devices;
    bool outOfMemory = false;
};

BOOL CALLBACK addDevice(GUID* guid, const wchar_t* description, const wchar_t* /*module*/, void* context) noexcept {
    auto& listing = *static_cast<Listing*>(context);
    try {
        std::array<char, kNameCapacity> name{};
        // The entry without GUID stands for "the primary device", which has an entry of its own as well.
        if (guid != nullptr && description != nullptr &&
            !conversionFailed(utf16ToUtf8(description, -1, name.data(), kNameCapacity)))
            listing.devices.try_emplace(*guid, DeviceEntry{*guid, name.data(), false});
    } catch (...) {
        listing.outOfMemory = true;
    }
    return TRUE;
}

template <typename Enumerate>
bool list(Enumerate enumerate, DeviceMap& devices) {
    Listing listing{devices};
    const HRESULT hr = enumerate(addDevice, &listing);
    if (listing.outOfMemory)
        throw std::bad_alloc();
    return SUCCEEDED(hr);
}

} // namespace

bool listSystemDevices(DeviceMaps& devices) {
    return list(DirectSoundEnumerateW, devices[0]) && list(DirectSoundCaptureEnumerateW, devices[1]);
}

bool readDefaultVoiceDevices(DefaultGuids& guids) {
    return SUCCEEDED(GetDeviceID(&kDefaultVoicePlayback, guids.data())) &&
           SUCCEEDED(GetDeviceID(&kDefaultVoiceCapture, &guids[1]));
}

} // namespace directsound
