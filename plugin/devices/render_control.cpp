#include "devices/buffer_lock.h"
#include "devices/render_device_context.h"

#include <utility>

namespace directsound {

RenderDeviceContext::RenderDeviceContext(std::string deviceId, std::uint32_t contextId, const DeviceHost& host)
    : DeviceContext(std::move(deviceId), contextId, host), m_Window(host.window) {}

std::unique_ptr<PlayedBlock> RenderDeviceContext::takePlayedBlock() {
    return m_PlayedBlocks.takeBeyond(m_LatencyBlocks + 1);
}

BackendResult RenderDeviceContext::start() {
    BufferLock whole(*m_Buffer, 0, 0, DSBLOCK_ENTIREBUFFER);
    if (FAILED(whole.result()))
        return report(ORVO_LOCK, whole.result());
    whole.fill(std::byte{0});
    HRESULT hr = whole.unlock();
    if (FAILED(hr))
        return report(ORVO_UNLOCK, hr);

    // The block before the one that the loop writes first.
    m_BlockIndex = (m_LatencyBlocks + BLOCKS_PER_BUFFER - 1) % BLOCKS_PER_BUFFER;

    hr = m_Buffer->Play(0, 0, DSBPLAY_LOOPING);
    return FAILED(hr) ? report(ORVO_PLAYBACK_START, hr) : ORVO_OK;
}

BackendResult RenderDeviceContext::stop() {
    const HRESULT hr = m_Buffer->Stop();
    // A lost buffer counts as stopped.
    return hr == DS_OK || hr == DSERR_BUFFERLOST ? ORVO_OK : report(ORVO_PLAYBACK_STOP, hr);
}

void RenderDeviceContext::close() noexcept {
    m_PrimaryBuffer.reset();
    m_Buffer.reset();
    m_DirectSound.reset();
}

} // namespace directsound
