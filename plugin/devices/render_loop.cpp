// The playback data loop: keeps the buffer filled a cushion ahead of the write cursor, one block at a time.

#include "devices/buffer_lock.h"
#include "devices/render_device_context.h"
#include "diagnostics/message.h"

#include <cstring>
#include <mutex>
#include <utility>

namespace directsound {
namespace {

// Durations above which a step is worth a line in the log, in milliseconds.
constexpr DWORD kSlowPass = 40;
constexpr DWORD kSlowStep = 20;

constexpr std::size_t kSpareBlocks = 5; ///< Played blocks that are kept beyond the cushion.

/// Silences what the client did not deliver. The record is read as the callback left it.
void silenceMissing(const AudioBlock& request, std::int32_t delivered, const WAVEFORMATEX& format) {
    if (delivered < 0 || delivered > request.frameCount)
        delivered = 0; // kept: too many frames mean silence, not a cut block
    const std::int32_t missing = request.frameCount - delivered;
    if (missing <= 0)
        return;
    const std::int32_t channels = format.nChannels;
    std::memset(request.samples + std::ptrdiff_t{delivered} * channels, 0,
                static_cast<std::size_t>(channels * format.wBitsPerSample * missing / 8));
}

} // namespace

BackendResult RenderDeviceContext::int_processData() {
    const BlockGeometry geometry = blockGeometry(format());
    for (;;) {
        const DWORD passStart = timeGetTime();
        DWORD writeCursor = 0;
        const HRESULT hr = readWriteCursor(writeCursor);
        logWhenGreater("RenderDeviceContext::int_processData outerLoop proc (2) time: ", timeGetTime() - passStart,
                       kSlowPass);
        if (FAILED(hr))
            return report(ORVO_GET_CURRENT_POSITION, hr);

        if (const auto ended = writeBlocks(geometry, writeCursor))
            return *ended;
        if (commandedWhileWaiting(geometry, writeCursor))
            return ORVO_OK;
        logWhenGreater("RenderDeviceContext::int_processData outerLoop proc (3) time: ", timeGetTime() - passStart,
                       kSlowPass);
    }
}

std::optional<BackendResult> RenderDeviceContext::writeBlocks(const BlockGeometry& geometry, DWORD& writeCursor) {
    DWORD lastIteration = timeGetTime();
    for (std::uint32_t next = nextBlock(m_BlockIndex); next != playbackTarget(writeCursor, m_LatencyBlocks, geometry);
         next = nextBlock(next)) {
        logWhenGreater("RenderDeviceContext::int_processData Loop proc time: ", timeGetTime() - lastIteration,
                       kSlowPass);
        lastIteration = timeGetTime();
        m_BlockIndex = next;

        auto block =
            std::make_unique<PlayedBlock>(geometry.bytesPerBlock, geometry.framesPerBlock, format().nChannels);
        if (!requestFrames(*block))
            return ORVO_OK;
        HRESULT hr = writeBlock(next, geometry, *block);
        if (FAILED(hr))
            return report(ORVO_LOCK, hr);
        m_PlayedBlocks.append(std::move(block), m_LatencyBlocks + kSpareBlocks);

        if (commandPending())
            return ORVO_OK;
        hr = readWriteCursor(writeCursor);
        if (FAILED(hr))
            return report(ORVO_GET_CURRENT_POSITION, hr);
    }
    return std::nullopt;
}

/// Has the client fill a block, under the DSP lock. False when a command came first.
bool RenderDeviceContext::requestFrames(PlayedBlock& block) {
    AudioBlock request{m_ContextId, 0, block.samples.get(), static_cast<std::int32_t>(block.frameCount)};
    if (!m_DS->dspLock.lockUnlessCommanded(m_CommandEvent))
        return false;
    const std::lock_guard guard(m_DS->dspLock, std::adopt_lock);

    const DWORD called = timeGetTime();
    const std::int32_t delivered =
        m_DS->m_Callbacks.getPlaybackData(m_DS->m_Callbacks.clientContext, m_DeviceId.c_str(), &request);
    const DWORD returned = timeGetTime();
    silenceMissing(request, delivered, format());
    logWhenGreater("RenderDeviceContext::int_processData m_DS->m_Callbacks.getPlaybackData time ", returned - called,
                   kSlowStep);
    return true;
}

HRESULT RenderDeviceContext::writeBlock(std::uint32_t index, const BlockGeometry& geometry,
                                        const PlayedBlock& block) {
    BufferLock locked(*m_Buffer, index * geometry.bytesPerBlock, geometry.bytesPerBlock, 0);
    if (SUCCEEDED(locked.result()))
        locked.write({reinterpret_cast<const std::byte*>(block.samples.get()), geometry.bytesPerBlock});
    return locked.result();
}

/// Looks at the command event without waiting.
bool RenderDeviceContext::commandPending() {
    const DWORD asked = timeGetTime();
    if (m_CommandEvent.wokenWithin(0))
        return true;
    logWhenGreater("RenderDeviceContext::int_processData WaitForSingleObject slept for ", timeGetTime() - asked,
                   kSlowStep);
    return false;
}

/// Sleeps until the cursor may have moved on. True when a command came.
bool RenderDeviceContext::commandedWhileWaiting(const BlockGeometry& geometry, DWORD writeCursor) {
    const DWORD msecsToWait = playbackWait(writeCursor, geometry);
    logWhenGreater("RenderDeviceContext::int_processData msecsToWait =  ", msecsToWait, kBlockMilliseconds, "");

    const DWORD slept = timeGetTime();
    if (m_CommandEvent.wokenWithin(msecsToWait + 1))
        return true;
    logWhenGreater("RenderDeviceContext::int_processData slept for ", timeGetTime() - slept, msecsToWait + kSlowStep);
    return false;
}

HRESULT RenderDeviceContext::readWriteCursor(DWORD& writeCursor) {
    DWORD playCursor = 0;
    return m_Buffer->GetCurrentPosition(&playCursor, &writeCursor);
}

void RenderDeviceContext::logWhenGreater(const char* prefix, DWORD milliseconds, DWORD limit,
                                         const char* suffix) const noexcept {
    if (milliseconds <= limit)
        return;
    try {
        log(message(prefix, milliseconds, suffix), LogLevel::Warning);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // No memory for the line: the audio goes on without it.
    }
}

} // namespace directsound
