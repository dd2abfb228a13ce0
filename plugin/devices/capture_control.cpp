#include "devices/capture_device_context.h"
#include "devices/wave_format.h"

#include <mutex>
#include <utility>

namespace directsound {

CaptureDeviceContext::CaptureDeviceContext(std::string deviceId, std::uint32_t contextId, const DeviceHost& host)
    : DeviceContext(std::move(deviceId), contextId, host) {}

std::uint32_t CaptureDeviceContext::setEchoDevice(std::string playbackDeviceId, std::uint32_t channelMask) {
    const std::lock_guard guard(m_EchoLock);
    m_EchoDeviceId.swap(playbackDeviceId);
    m_EchoChannelMask = channelMask;
    m_EchoChannels = channelCountOfMask(channelMask);
    return ++m_EchoGeneration;
}

void CaptureDeviceContext::clearEchoDevice() {
    const std::lock_guard guard(m_EchoLock);
    m_EchoDeviceId.clear();
}

BackendResult CaptureDeviceContext::start() {
    const HRESULT hr = m_CaptureBuffer->Start(DSCBSTART_LOOPING);
    return FAILED(hr) ? report(ORVO_CAPTURE_START, hr) : ORVO_OK;
}

BackendResult CaptureDeviceContext::stop() {
    const HRESULT hr = m_CaptureBuffer->Stop();
    // A device that has gone away has stopped.
    return hr == DS_OK || hr == DSERR_NODRIVER ? ORVO_OK : report(ORVO_CAPTURE_STOP, hr);
}

void CaptureDeviceContext::close() noexcept {
    m_CaptureBuffer.reset();
    m_Capture.reset();
}

} // namespace directsound
