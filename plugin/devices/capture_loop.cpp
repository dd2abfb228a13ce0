// The capture data loop: cuts the looping buffer into blocks and hands each one to the client.

#include "devices/buffer_lock.h"
#include "devices/capture_device_context.h"

#include <mutex>

namespace directsound {
namespace {

constexpr DWORD kFirstWaitMilliseconds = kBlockMilliseconds + 1;
constexpr std::uint32_t kMaxBacklogBlocks = BLOCKS_PER_BUFFER / 2;
constexpr std::uint32_t kEchoContextId = 1; ///< What a client tells an echo reference by.

} // namespace

BackendResult CaptureDeviceContext::processData() {
    const BlockGeometry geometry = blockGeometry(format());
    if (m_CommandEvent.wokenWithin(kFirstWaitMilliseconds))
        return ORVO_OK;

    for (;;) {
        DWORD capturePosition = 0;
        DWORD readPosition = 0;
        HRESULT hr = m_CaptureBuffer->GetCurrentPosition(&capturePosition, &readPosition);
        if (FAILED(hr))
            return report(ORVO_GET_CURRENT_POSITION, hr);

        const std::uint32_t currentBlock = blockAt(readPosition, geometry);
        const std::uint32_t backlog = blockDistance(m_BlockIndex, currentBlock);
        if (backlog > kMaxBacklogBlocks)
            m_BlockIndex = currentBlock; // too far behind to tell old blocks from new ones
        if (backlog == 0 || backlog > kMaxBacklogBlocks) {
            if (m_CommandEvent.wokenWithin(millisecondsIntoBlock(readPosition, geometry) + 1))
                return ORVO_OK;
            continue;
        }

        // A copy, so that the device's buffer is not locked while the client works.
        const auto copy = std::make_unique<std::byte[]>(geometry.bytesPerBlock);
        hr = copyBlock(m_BlockIndex, geometry, copy.get());
        if (FAILED(hr))
            return report(ORVO_LOCK, hr);
        m_BlockIndex = nextBlock(m_BlockIndex);
        if (!deliver(reinterpret_cast<std::int16_t*>(copy.get()), geometry))
            return ORVO_OK;
    }
}

HRESULT CaptureDeviceContext::copyBlock(std::uint32_t index, const BlockGeometry& geometry, std::byte* copy) {
    const BufferLock locked(*m_CaptureBuffer, index * geometry.bytesPerBlock, geometry.bytesPerBlock, 0);
    if (SUCCEEDED(locked.result()))
        locked.read({copy, geometry.bytesPerBlock});
    return locked.result();
}

bool CaptureDeviceContext::deliver(std::int16_t* samples, const BlockGeometry& geometry) {
    AudioBlock captured{m_ContextId, 0, samples, static_cast<std::int32_t>(geometry.framesPerBlock)};
    if (!m_DS->dspLock.lockUnlessCommanded(m_CommandEvent))
        return false;
    const std::lock_guard guard(m_DS->dspLock, std::adopt_lock);

    const std::unique_ptr<PlayedBlock> played = takeEchoReference();
    AudioBlock reference{kEchoContextId, 0, nullptr, 0};
    if (played) {
        reference.samples = played->samples.get();
        reference.frameCount = static_cast<std::int32_t>(played->frameCount);
    }
    m_DS->m_Callbacks.deliverCaptureData(m_DS->m_Callbacks.clientContext, m_DeviceId.c_str(), &captured,
                                         played ? &reference : nullptr);
    return true;
}

/// Null when there is no echo device, when it has not played enough yet, or when its block has the wrong channels.
std::unique_ptr<PlayedBlock> CaptureDeviceContext::takeEchoReference() {
    std::string echoDeviceId;
    std::uint32_t echoChannels = 0;
    {
        const std::lock_guard guard(m_EchoLock);
        echoDeviceId = m_EchoDeviceId;
        echoChannels = m_EchoChannels;
    }
    if (echoDeviceId.empty())
        return nullptr;
    std::unique_ptr<PlayedBlock> played = m_DS->playedBlocks.takePlayedBlock(echoDeviceId);
    if (played && played->channelCount != echoChannels)
        played.reset();
    return played;
}

} // namespace directsound
