#include "devices/device_guid.h"

#include "diagnostics/text_conversion.h"

#include <objbase.h>

#include <array>

namespace directsound {
namespace {

constexpr int kCapacity = 256; ///< In units. The last is not converted into, so that the text always ends.

} // namespace

DeviceGuid parseDeviceGuid(const std::string& deviceId) {
    std::array<wchar_t, kCapacity> text{};
    const int converted = utf8ToUtf16(deviceId.c_str(), -1, text.data(), kCapacity - 1);
    if (conversionFailed(converted))
        return {converted, S_OK, {}};

    GUID guid{};
    const HRESULT hr = CLSIDFromString(text.data(), &guid);
    return {FAILED(hr) ? ORVO_DEVICE_GUID : ORVO_OK, hr, guid};
}

} // namespace directsound
