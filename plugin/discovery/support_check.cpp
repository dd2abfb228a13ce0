#include "discovery/support_check.h"

#include "diagnostics/error_report.h"
#include "diagnostics/sinks.h"
#include "platform/directsound.h"

#include <windows.h>

namespace directsound {
namespace {

BOOL CALLBACK acceptDevice(GUID* /*guid*/, const wchar_t* /*description*/, const wchar_t* /*module*/,
                           void* /*context*/) {
    return TRUE;
}

} // namespace

BackendResult checkSupport() {
    const HRESULT hr = DirectSoundEnumerateW(acceptDevice, nullptr);
    if (hr == DS_OK)
        return ORVO_OK;
    writeOutputLine(errorReportLine(ORVO_NOTSUPPORTED, hr));
    return ORVO_NOTSUPPORTED;
}

} // namespace directsound
