#pragma once

#include "backend/device_registry.h"
#include "devices/device_host.h"
#include "devices/dsp_lock.h"
#include "discovery/device_monitor.h"
#include "orvosoundbackend.h"
#include "platform/hidden_window.h"
#include "platform/timer_resolution.h"

#include <array>
#include <memory>
#include <optional>
#include <string>

/// The backend that the client holds: what all devices share, and the registries of the open ones.
///
/// Made and destroyed on one thread, which the window belongs to. The device operations are called from one thread at
/// a time; each takes no lock of the backend's own beyond a moment of a registry's.
struct DirectSoundBackend final : private directsound::PlayedBlockSource {
public:
    explicit DirectSoundBackend(const BackendCallbacks& callbacks);
    /// Ends the monitor and what is left to close, then destroys the devices still open, without ending their workers.
    ~DirectSoundBackend() override;
    DirectSoundBackend(const DirectSoundBackend&) = delete;
    DirectSoundBackend& operator=(const DirectSoundBackend&) = delete;

    /// Whether the window, and with it everything else, could be made.
    [[nodiscard]] bool usable() const { return static_cast<bool>(*m_Window); }

    /// Only when usable.
    [[nodiscard]] directsound::DeviceMonitor& monitor() { return *m_Monitor; }
    [[nodiscard]] directsound::DspLock& dspLock() { return m_DspLock; }

    // Opening and closing, starting and stopping (device_lifecycle.cpp). The direction is valid.

    /// `format` is filled in when the device is open.
    BackendResult openDevice(DeviceDirection direction, const std::string& deviceId, std::uint32_t contextId,
                             std::optional<directsound::DeviceFormat>& format);
    BackendResult closeDevice(DeviceDirection direction, const std::string& deviceId, std::uint32_t contextId);
    BackendResult startDevice(DeviceDirection direction, const std::string& deviceId, std::uint32_t contextId);
    BackendResult stopDevice(DeviceDirection direction, const std::string& deviceId, std::uint32_t contextId);

    // The echo reference (echo_association.cpp).

    /// What an echo reference looks like. The out-parameters of the association export.
    struct EchoFormat {
        std::uint32_t* channelMask;
        std::uint32_t* bitsPerSample;
        std::uint32_t* sampleRate;
        std::uint32_t* associationCounter;

        [[nodiscard]] bool complete() const;
    };
    /// A null `playbackDeviceId` ends the pairing.
    BackendResult associateAECDevice(const std::string& captureDeviceId, const char* playbackDeviceId,
                                     std::uint32_t contextId, const EchoFormat& echo);

private:
    [[nodiscard]] std::unique_ptr<directsound::PlayedBlock> takePlayedBlock(const std::string& deviceId) override;
    [[nodiscard]] std::unique_ptr<directsound::DeviceContext>
    makeContext(DeviceDirection direction, const std::string& deviceId, std::uint32_t contextId) const;
    [[nodiscard]] directsound::DeviceRegistry& registry(DeviceDirection direction);
    /// Finds an open device by its identifier and the client's number for it.
    struct Lookup {
        BackendResult result;
        directsound::DeviceContext* device;
    };
    [[nodiscard]] Lookup find(DeviceDirection direction, const std::string& deviceId, std::uint32_t contextId);

    const BackendCallbacks m_Callbacks;
    std::array<directsound::DeviceRegistry, 2> m_Registries; ///< Playback, capture.
    std::optional<directsound::TimerResolution> m_TimerResolution;
    directsound::DspLock m_DspLock;
    std::optional<directsound::HiddenWindow> m_Window;
    directsound::DeviceHost m_Host;
    std::unique_ptr<directsound::DeviceMonitor> m_Monitor;
};
