#include "discovery/device_info_record.h"

#include "diagnostics/error_report.h"
#include "diagnostics/sinks.h"
#include "diagnostics/text_conversion.h"
#include "platform/memory.h"

#include <algorithm>

namespace directsound {

BackendResult describeDevice(const DeviceEntry& entry, DeviceInfoRecord& record) {
    record = {};

    wchar_t* wide = nullptr;
    const HRESULT hr = StringFromCLSID(entry.guid, &wide);
    const UniqueCoTaskMem<wchar_t> owner(wide);
    if (FAILED(hr)) {
        writeOutputLine(errorReportLine(ORVO_GUID_TO_STRING, hr));
        return ORVO_GUID_TO_STRING;
    }
    const int converted = utf16ToUtf8(wide, -1, record.id, sizeof(record.id));
    if (conversionFailed(converted))
        return converted;
    record.idLength = static_cast<std::uint8_t>(converted - 1); // the count includes the terminator

    // Cut where it has to be, even inside a character.
    const std::size_t nameLength = std::min(entry.name.size(), sizeof(record.name) - 1);
    record.nameLength = static_cast<std::uint8_t>(nameLength);
    std::copy_n(entry.name.data(), nameLength, record.name);
    return ORVO_OK;
}

} // namespace directsound
