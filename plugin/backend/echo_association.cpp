#include "backend/direct_sound_backend.h"
#include "devices/capture_device_context.h"
#include "devices/device_guid.h"
#include "devices/wave_format.h"
#include "diagnostics/error_report.h"
#include "platform/com_ptr.h"
#include "platform/directsound.h"

#include <utility>

using namespace directsound;

namespace {

constexpr std::uint32_t kEchoBitsPerSample = 16;

} // namespace

bool DirectSoundBackend::EchoFormat::complete() const {
    return channelMask != nullptr && bitsPerSample != nullptr && sampleRate != nullptr &&
           associationCounter != nullptr;
}

BackendResult DirectSoundBackend::associateAECDevice(const std::string& captureDeviceId, const char* playbackDeviceId,
                                                     std::uint32_t contextId, const EchoFormat& echo) {
    const Lookup found = find(ORVO_CAPTURE, captureDeviceId, contextId);
    if (found.device == nullptr)
        return found.result;
    auto& capture = dynamic_cast<CaptureDeviceContext&>(*found.device);
    if (playbackDeviceId == nullptr) {
        capture.clearEchoDevice();
        return ORVO_OK;
    }
    if (!echo.complete())
        return ORVO_INVALID_PARAM;

    const auto report = [&](BackendResult code, HRESULT hr) {
        logErrorReport(m_Callbacks, captureDeviceId, code, hr);
        return code;
    };
    std::string echoDeviceId = playbackDeviceId;
    const DeviceGuid device = parseDeviceGuid(echoDeviceId);
    if (device.result != ORVO_OK)
        return device.result == ORVO_DEVICE_GUID ? report(device.result, device.hr) : device.result;

    ComPtr<IDirectSound8> directSound;
    HRESULT hr = DirectSoundCreate8(&device.guid, directSound.put(), nullptr);
    if (FAILED(hr))
        return report(ORVO_DIRECTSOUNDCREATE8, hr);
    DSCAPS caps{};
    caps.dwSize = sizeof(caps);
    hr = directSound->GetCaps(&caps);
    if (FAILED(hr))
        return report(ORVO_GET_CAPS, hr);
    DWORD speakerConfig = 0;
    hr = directSound->GetSpeakerConfig(&speakerConfig);
    if (FAILED(hr))
        return report(ORVO_GET_SPEAKER_CONFIG, hr);

    const std::uint32_t mask = speakerConfigToChannelMask(speakerConfig);
    *echo.associationCounter = capture.setEchoDevice(std::move(echoDeviceId), mask);
    *echo.channelMask = mask;
    *echo.bitsPerSample = kEchoBitsPerSample;
    *echo.sampleRate = caps.dwMaxSecondarySampleRate >= kRate48k ? kRate48k : kRate44k;
    return ORVO_OK;
}
