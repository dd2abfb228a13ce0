#include "discovery/device_identifier.h"

#include "diagnostics/text_conversion.h"
#include "platform/memory.h"

namespace directsound {

DeviceIdentifier deviceIdentifier(const GUID& guid) {
    DeviceIdentifier identifier{};
    wchar_t* wide = nullptr;
    const HRESULT hr = StringFromCLSID(guid, &wide);
    const UniqueCoTaskMem<wchar_t> owner(wide);
    if (FAILED(hr) ||
        conversionFailed(utf16ToUtf8(wide, -1, identifier.data(), static_cast<int>(identifier.size()) - 1)))
        identifier.front() = '\0';
    return identifier;
}

} // namespace directsound
