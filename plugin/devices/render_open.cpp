#include "devices/device_guid.h"
#include "devices/render_device_context.h"
#include "devices/wave_format.h"

#include <tuple>

namespace directsound {
namespace {

constexpr std::uint32_t kUsualLatencyBlocks = 5;
constexpr std::uint32_t kBitsPerSample = 16;

static_assert(sizeof(DSCAPS) == 96 && sizeof(DSBUFFERDESC) == 40 && sizeof(DSBCAPS) == 20);

/// The channel mask for the channel count that the device insists on.
std::uint32_t maskForChannels(std::uint32_t channels, std::uint32_t mask) {
    if (channels == 1)
        return kFrontCenter;
    return channels == 2 ? kFrontLeftRight : mask;
}

/// Whether the buffer took the 16-bit samples that it was made for; clients write nothing else.
bool usable(const WAVEFORMATEX& format) {
    return blockGeometry(format).valid() && format.wBitsPerSample == kBitsPerSample &&
           format.nBlockAlign == format.nChannels * kBitsPerSample / 8;
}

} // namespace

BackendResult RenderDeviceContext::open() {
    bool prefer48k = false;
    if (const BackendResult result = createDevice(prefer48k); result != ORVO_OK)
        return result;
    WAVEFORMATEXTENSIBLE negotiated{};
    if (const BackendResult result = negotiateFormat(prefer48k, negotiated); result != ORVO_OK)
        return result;
    if (const BackendResult result = createBuffer(negotiated); result != ORVO_OK)
        return result;
    return readBuffer();
}

BackendResult RenderDeviceContext::createDevice(bool& prefer48k) {
    const DeviceGuid device = parseDeviceGuid(m_DeviceId);
    if (device.result != ORVO_OK)
        return device.result == ORVO_DEVICE_GUID ? report(device.result, device.hr) : device.result;

    HRESULT hr = DirectSoundCreate8(&device.guid, m_DirectSound.put(), nullptr);
    if (FAILED(hr))
        return report(ORVO_DIRECTSOUNDCREATE8, hr);

    DSCAPS caps{};
    caps.dwSize = sizeof(caps);
    hr = m_DirectSound->GetCaps(&caps);
    if (FAILED(hr))
        return report(ORVO_GET_CAPS, hr);
    prefer48k = caps.dwMaxSecondarySampleRate >= kRate48k && caps.dwMinSecondarySampleRate <= kRate48k;
    m_Emulated = (caps.dwFlags & DSCAPS_EMULDRIVER) != 0;
    chooseLatency(caps.dwFlags, kUsualLatencyBlocks);

    hr = m_DirectSound->SetCooperativeLevel(m_Window, DSSCL_PRIORITY);
    return FAILED(hr) ? report(ORVO_SETCOOPERATIVELEVEL, hr) : ORVO_OK;
}

BackendResult RenderDeviceContext::negotiateFormat(bool prefer48k, WAVEFORMATEXTENSIBLE& negotiated) {
    DSBUFFERDESC description{};
    description.dwSize = sizeof(description);
    description.dwFlags = DSBCAPS_PRIMARYBUFFER;
    HRESULT hr = m_DirectSound->CreateSoundBuffer(&description, m_PrimaryBuffer.put(), nullptr);
    if (FAILED(hr))
        return report(ORVO_CREATEPRIMARYBUFFER, hr);

    DWORD speakerConfig = 0;
    hr = m_DirectSound->GetSpeakerConfig(&speakerConfig);
    if (FAILED(hr))
        return report(ORVO_GET_SPEAKER_CONFIG, hr);
    const std::uint32_t mask = speakerConfigToChannelMask(speakerConfig);
    const std::uint32_t channels = channelCountOfMask(mask);
    setPreferredFormat(prefer48k, channels, mask);

    WAVEFORMATEXTENSIBLE accepted{};
    hr = m_PrimaryBuffer->GetFormat(&accepted.Format, sizeof(accepted), nullptr);
    if (FAILED(hr))
        return report(ORVO_GET_FORMAT_5, hr);

    const std::uint32_t acceptedChannels = accepted.Format.nChannels;
    negotiated = fillWaveFormat(accepted.Format.nSamplesPerSec, acceptedChannels, kBitsPerSample,
                                acceptedChannels == channels ? mask : maskForChannels(acceptedChannels, mask));
    return ORVO_OK;
}

void RenderDeviceContext::setPreferredFormat(bool prefer48k, std::uint32_t channels, std::uint32_t mask) {
    const WAVEFORMATEXTENSIBLE preferred =
        fillWaveFormat(prefer48k ? kRate48k : kRate44k, channels, kBitsPerSample, mask);
    if (SUCCEEDED(m_PrimaryBuffer->SetFormat(&preferred.Format)))
        return;
    if (prefer48k) {
        const WAVEFORMATEX lower = plainWaveFormat(kRate44k, channels, kBitsPerSample);
        std::ignore = m_PrimaryBuffer->SetFormat(&lower); // some drivers take 48 kHz only after a change
        const WAVEFORMATEX plain = plainWaveFormat(kRate48k, channels, kBitsPerSample);
        if (SUCCEEDED(m_PrimaryBuffer->SetFormat(&plain)))
            return;
    }
    // Kept: warned of also when the lower rate was taken; the device then runs at that.
    log("Could not set preferred format for playback", LogLevel::Warning);
}

BackendResult RenderDeviceContext::createBuffer(WAVEFORMATEXTENSIBLE& format) {
    DSBUFFERDESC description{};
    description.dwSize = sizeof(description);
    description.dwFlags = DSBCAPS_GETCURRENTPOSITION2 | DSBCAPS_GLOBALFOCUS;
    description.dwBufferBytes = blockGeometry(format.Format).bytesPerBuffer();
    description.lpwfxFormat = &format.Format;
    ComPtr<IDirectSoundBuffer> buffer;
    HRESULT hr = m_DirectSound->CreateSoundBuffer(&description, buffer.put(), nullptr);
    if (FAILED(hr))
        return report(ORVO_CREATEBUFFER, hr);
    hr = buffer->QueryInterface(IID_IDirectSoundBuffer8, m_Buffer.putVoid());
    buffer.reset();
    return FAILED(hr) ? report(ORVO_CREATEBUFFER, hr) : ORVO_OK;
}

BackendResult RenderDeviceContext::readBuffer() {
    HRESULT hr = m_Buffer->GetFormat(allocateFormat(), kFormatCapacity, nullptr);
    if (SUCCEEDED(hr) && !usable(format()))
        hr = DSERR_BADFORMAT;
    if (FAILED(hr))
        return report(ORVO_GET_FORMAT_4, hr);

    m_BufferCaps.dwSize = sizeof(m_BufferCaps);
    hr = m_Buffer->GetCaps(&m_BufferCaps);
    return FAILED(hr) ? report(ORVO_GET_CAPS, hr) : ORVO_OK;
}

} // namespace directsound
