#include "devices/capture_device_context.h"
#include "devices/device_guid.h"
#include "devices/wave_format.h"
#include "diagnostics/message.h"

namespace directsound {
namespace {

constexpr std::uint32_t kUsualLatencyBlocks = 3;
constexpr DWORD kSearchPauseMilliseconds = 20;

// Capability bits of the 48 kHz formats.
constexpr DWORD kStereo16 = 0x8000;
constexpr DWORD kMono16 = 0x4000;
constexpr DWORD kStereo8 = 0x2000;
constexpr DWORD kMono8 = 0x1000;

static_assert(sizeof(DSCCAPS) == 16 && sizeof(DSCBUFFERDESC) == 40 && sizeof(DSCBCAPS) == 16);

/// The best format at the highest rate.
WAVEFORMATEX chooseFormat(DWORD offered) {
    if ((offered & kStereo16) != 0)
        return plainWaveFormat(kSampleRates.back(), 2, 16);
    if ((offered & kMono16) != 0)
        return plainWaveFormat(kSampleRates.back(), 1, 16);
    // Kept: there is no falling back to a lower rate. A device without any 48 kHz format is searched for ever.
    for (;;) {
        if ((offered & kStereo8) != 0)
            return plainWaveFormat(kSampleRates.back(), 2, 8);
        if ((offered & kMono8) != 0)
            return plainWaveFormat(kSampleRates.back(), 1, 8);
        Sleep(kSearchPauseMilliseconds);
    }
}

} // namespace

BackendResult CaptureDeviceContext::open() {
    WAVEFORMATEX request{};
    if (const BackendResult result = createDevice(request); result != ORVO_OK)
        return result;
    if (const BackendResult result = createBuffer(request); result != ORVO_OK)
        return result;
    return readBuffer(request);
}

BackendResult CaptureDeviceContext::createDevice(WAVEFORMATEX& request) {
    const DeviceGuid device = parseDeviceGuid(m_DeviceId);
    if (device.result != ORVO_OK)
        return device.result == ORVO_DEVICE_GUID ? report(device.result, device.hr) : device.result;

    HRESULT hr = DirectSoundCaptureCreate8(&device.guid, m_Capture.put(), nullptr);
    if (FAILED(hr))
        return report(ORVO_DIRECTSOUNDCAPTURECREATE8, hr);

    DSCCAPS caps{};
    caps.dwSize = sizeof(caps);
    hr = m_Capture->GetCaps(&caps);
    if (FAILED(hr))
        return report(ORVO_GET_CAPS, hr);
    request = chooseFormat(caps.dwFormats);
    chooseLatency(caps.dwFlags, kUsualLatencyBlocks);
    return ORVO_OK;
}

BackendResult CaptureDeviceContext::createBuffer(WAVEFORMATEX& request) {
    DSCBUFFERDESC description{};
    description.dwSize = sizeof(description);
    description.dwBufferBytes = blockGeometry(request).bytesPerBuffer();
    description.lpwfxFormat = &request;
    ComPtr<IDirectSoundCaptureBuffer> buffer;
    HRESULT hr = m_Capture->CreateCaptureBuffer(&description, buffer.put(), nullptr);
    if (hr == DSERR_ALLOCATED)
        return ORVO_DEVICE_ALLOCATED; // another program has the device: no fault, so no line in the log
    if (FAILED(hr))
        return report(ORVO_CREATECAPTUREBUFFER, hr);
    hr = buffer->QueryInterface(IID_IDirectSoundCaptureBuffer8, m_CaptureBuffer.putVoid());
    buffer.reset();
    return FAILED(hr) ? report(ORVO_CREATECAPTUREBUFFER_INTF, hr) : ORVO_OK;
}

BackendResult CaptureDeviceContext::readBuffer(const WAVEFORMATEX& request) {
    HRESULT hr = m_CaptureBuffer->GetFormat(allocateFormat(), kFormatCapacity, nullptr);
    if (SUCCEEDED(hr) && !blockGeometry(format()).valid())
        hr = DSERR_BADFORMAT;
    if (FAILED(hr))
        return report(ORVO_GET_FORMAT_2, hr);

    const WAVEFORMATEX& delivered = format();
    if (delivered.nChannels != request.nChannels || delivered.nSamplesPerSec != request.nSamplesPerSec ||
        delivered.wBitsPerSample != request.wBitsPerSample) {
        log(message("capture open requested ", request.nSamplesPerSec, " ", request.wBitsPerSample, " ",
                    request.nChannels),
            LogLevel::Information);
        // Kept: the last number is the requested channel count, not the delivered one.
        log(message("capture open got ", delivered.nSamplesPerSec, " ", delivered.wBitsPerSample, " ",
                    request.nChannels),
            LogLevel::Error);
    }

    m_BufferCaps.dwSize = sizeof(m_BufferCaps);
    hr = m_CaptureBuffer->GetCaps(&m_BufferCaps);
    return FAILED(hr) ? report(ORVO_GET_CAPS, hr) : ORVO_OK;
}

} // namespace directsound
