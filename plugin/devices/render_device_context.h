#pragma once

#include "devices/block_geometry.h"
#include "devices/device_context.h"
#include "platform/com_ptr.h"
#include "platform/directsound.h"

#include <windows.h>

#include <mmreg.h>

#include <optional>

namespace directsound {

/// An open playback device. The control operations are in render_control.cpp, `open` in render_open.cpp and the data
/// loop in render_loop.cpp.
class RenderDeviceContext final : public DeviceContext {
public:
    RenderDeviceContext(std::string deviceId, std::uint32_t contextId, const DeviceHost& host);

    /// The oldest played block once more than `m_LatencyBlocks` + 1 are waiting; null otherwise. Any thread.
    [[nodiscard]] std::unique_ptr<PlayedBlock> takePlayedBlock();

protected:
    BackendResult processData() override { return int_processData(); }
    BackendResult open() override;
    void close() noexcept override;
    BackendResult start() override;
    BackendResult stop() override;

private:
    // Steps of open.
    BackendResult createDevice(bool& prefer48k);
    BackendResult negotiateFormat(bool prefer48k, WAVEFORMATEXTENSIBLE& negotiated);
    void setPreferredFormat(bool prefer48k, std::uint32_t channels, std::uint32_t mask);
    BackendResult createBuffer(WAVEFORMATEXTENSIBLE& format);
    BackendResult readBuffer();

    // The data loop. An engaged optional ends it with that result.
    BackendResult int_processData();
    std::optional<BackendResult> writeBlocks(const BlockGeometry& geometry, DWORD& writeCursor);
    bool requestFrames(PlayedBlock& block);
    [[nodiscard]] HRESULT writeBlock(std::uint32_t index, const BlockGeometry& geometry, const PlayedBlock& block);
    [[nodiscard]] bool commandPending();
    [[nodiscard]] bool commandedWhileWaiting(const BlockGeometry& geometry, DWORD writeCursor);
    [[nodiscard]] HRESULT readWriteCursor(DWORD& writeCursor);
    void logWhenGreater(const char* prefix, DWORD milliseconds, DWORD limit,
                        const char* suffix = " msecs") const noexcept;

    // Released in the reverse order; the primary buffer is kept so that the device keeps the format set on it.
    ComPtr<IDirectSound8> m_DirectSound;
    ComPtr<IDirectSoundBuffer8> m_Buffer;
    ComPtr<IDirectSoundBuffer> m_PrimaryBuffer;

    DSBCAPS m_BufferCaps{}; ///< Read by open; nothing needs it later.
    const HWND m_Window;
    bool m_Emulated = false; ///< Told by the driver; nothing needs it later.
    PlayedBlockQueue m_PlayedBlocks;
};

} // namespace directsound
