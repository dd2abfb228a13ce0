#pragma once

#include "devices/device_host.h"
#include "diagnostics/sinks.h"
#include "orvosoundbackend.h"
#include "platform/critical_section.h"
#include "platform/event.h"
#include "platform/unique_handle.h"

#include <windows.h>

#include <mmreg.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace directsound {

enum class DeviceState : std::int32_t {
    New = 0,
    Open = 1,
    Running = 2,
    Stopped = 3,
    TerminateRequested = 4,
    Failed = 5, ///< The context's last result tells why.
};

/// The format of an open device, as the client is told it. Plain formats of more than two channels have no mask.
struct DeviceFormat {
    std::uint32_t channels;
    std::uint32_t bitsPerSample;
    std::uint32_t sampleRate;
    std::optional<std::uint32_t> channelMask;
};

/// One open device and its worker thread, which alone calls DirectSound for it.
///
/// Client threads post a command by setting the command event under `m_Lock`, where `m_State` says which command is
/// due; the worker answers with the reply event. It runs open, start, the data loop and stop once, then `close`, and
/// ends. `m_Lock` is held while `open`, `start` and `stop` run, but not during the data loop, which the command event
/// ends. The owner destroys the context only after its worker has ended.
class DeviceContext {
public:
    DeviceContext(const DeviceContext&) = delete;
    DeviceContext& operator=(const DeviceContext&) = delete;
    virtual ~DeviceContext();

    [[nodiscard]] const std::string& deviceId() const { return m_DeviceId; }
    [[nodiscard]] std::uint32_t contextId() const { return m_ContextId; }

    // The client's side (device_commands.cpp).

    /// Starts the worker thread. False when there is none to be had, or no events to command it with.
    [[nodiscard]] bool startWorker() noexcept;
    /// Has the worker open the device, and waits. `format` is filled in when the device is open.
    [[nodiscard]] BackendResult commandOpen(std::optional<DeviceFormat>& format) noexcept;
    /// Has the worker start the device, and waits.
    [[nodiscard]] BackendResult commandStart() noexcept;
    /// Asks a running device to stop. Does not wait.
    void commandStop() noexcept;
    /// Ends the worker, whatever it is doing, and waits for it.
    void terminateAndJoin() noexcept;

    // The worker's side (device_worker.cpp).

    /// The whole life of the worker thread.
    void runWorker() noexcept;

protected:
    DeviceContext(std::string deviceId, std::uint32_t contextId, const DeviceHost& host);

    /// The data loop. Runs without m_Lock until the command event is signalled or a device call fails.
    virtual BackendResult processData() = 0;
    virtual BackendResult open() = 0;
    /// Releases the DirectSound interfaces. May be called twice.
    virtual void close() noexcept = 0;
    virtual BackendResult start() = 0;
    virtual BackendResult stop() = 0;

    /// Logs a failed call and returns `code`, so that failing is one line.
    BackendResult report(BackendResult code, HRESULT hr) const noexcept;
    void log(const std::string& message, LogLevel level) const;

    /// Chooses the cushion from a device's capability flags. Emulated drivers get a long one and a warning.
    void chooseLatency(DWORD capabilityFlags, std::uint32_t usualBlocks);
    /// Makes an empty m_Format; its capacity in bytes is kFormatCapacity.
    WAVEFORMATEX* allocateFormat();
    [[nodiscard]] const WAVEFORMATEX& format() const {
        return *reinterpret_cast<const WAVEFORMATEX*>(m_Format.get());
    }

    /// Room for any wave format that a driver may report, in bytes.
    static constexpr DWORD kFormatCapacity = 4000;

    const std::string m_DeviceId;
    const std::uint32_t m_ContextId;
    const DeviceHost* const m_DS;
    std::uint32_t m_BlockIndex = 0;    ///< Capture: the next block to hand over. Playback: the block last written.
    std::uint32_t m_LatencyBlocks = 0; ///< The cushion, in blocks. Written by open.

private:
    void runCommands() noexcept;
    /// Waits for a command and carries it out. False when the worker has to end.
    [[nodiscard]] bool answerCommand(BackendResult (DeviceContext::*operation)(), DeviceState success) noexcept;
    /// Runs an operation, with m_Lock held, and records what became of it.
    bool carryOut(BackendResult (DeviceContext::*operation)(), DeviceState success) noexcept;

    /// Posts a command to a context in state `expected`, waits, and takes the answer. A format is described on success.
    [[nodiscard]] BackendResult command(DeviceState expected, DeviceState success,
                                        std::optional<DeviceFormat>* format) noexcept;
    [[nodiscard]] DeviceFormat describeFormat() const noexcept;

    CriticalSection m_Lock; ///< Guards m_State, m_LastResult and the hand-over of the events.
    DeviceState m_State = DeviceState::New;
    BackendResult m_LastResult = ORVO_UNKNOWN;

    // In the reverse of the order in which they go.
    Event m_ReplyEvent;

protected:
    Event m_CommandEvent;

private:
    UniqueHandle m_Thread;

protected:
    std::unique_ptr<std::byte[]> m_Format; ///< The format that the device really uses; null until open has read it.
};

} // namespace directsound
