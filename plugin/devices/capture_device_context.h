#pragma once

#include "devices/block_geometry.h"
#include "devices/device_context.h"
#include "platform/com_ptr.h"
#include "platform/critical_section.h"
#include "platform/directsound.h"

#include <windows.h>

#include <string>

namespace directsound {

/// An open capture device. The control operations and the echo reference are in capture_control.cpp, `open` in
/// capture_open.cpp and the data loop in capture_loop.cpp.
class CaptureDeviceContext final : public DeviceContext {
public:
    CaptureDeviceContext(std::string deviceId, std::uint32_t contextId, const DeviceHost& host);

    /// Makes a playback device the echo reference; the loop switches at its next block. Any thread.
    /// Returns the number of pairings made so far.
    std::uint32_t setEchoDevice(std::string playbackDeviceId, std::uint32_t channelMask);
    void clearEchoDevice();

protected:
    BackendResult processData() override;
    BackendResult open() override;
    void close() noexcept override;
    BackendResult start() override;
    BackendResult stop() override;

private:
    // Steps of open.
    BackendResult createDevice(WAVEFORMATEX& request);
    BackendResult createBuffer(WAVEFORMATEX& request);
    BackendResult readBuffer(const WAVEFORMATEX& request);

    // The data loop.
    [[nodiscard]] HRESULT copyBlock(std::uint32_t index, const BlockGeometry& geometry, std::byte* copy);
    /// Hands a block to the client under the DSP lock. False when a command came first.
    bool deliver(std::int16_t* samples, const BlockGeometry& geometry);
    [[nodiscard]] std::unique_ptr<PlayedBlock> takeEchoReference();

    // Released in the reverse order.
    ComPtr<IDirectSoundCapture8> m_Capture;
    ComPtr<IDirectSoundCaptureBuffer8> m_CaptureBuffer;

    // The echo reference, guarded by m_EchoLock.
    std::string m_EchoDeviceId;          ///< Empty when there is none.
    std::uint32_t m_EchoChannelMask = 0; ///< What the client was told; nothing needs it later.
    std::uint32_t m_EchoChannels = 0;    ///< Set bits of the mask: the channels that a reference block must have.
    std::uint32_t m_EchoGeneration = 0;

    DSCBCAPS m_BufferCaps{}; ///< Read by open; nothing needs it later.
    CriticalSection m_EchoLock;
};

} // namespace directsound
