#pragma once

#include "devices/device_context.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace directsound {

/// What a device under test needs of a backend.
class FakeHost : private PlayedBlockSource {
public:
    FakeHost() : m_Host{m_Callbacks, m_DspLock, *this, nullptr} {}

    [[nodiscard]] const DeviceHost& host() const { return m_Host; }

private:
    std::unique_ptr<PlayedBlock> takePlayedBlock(const std::string& /*deviceId*/) override { return nullptr; }

    BackendCallbacks m_Callbacks{};
    DspLock m_DspLock;
    DeviceHost m_Host;
};

/// The operations that a fake device was asked for, in order. Any thread.
class Journal {
public:
    void note(const std::string& what) {
        const std::lock_guard guard(m_Mutex);
        m_Lines.push_back(what);
    }
    [[nodiscard]] std::vector<std::string> lines() const {
        const std::lock_guard guard(m_Mutex);
        return m_Lines;
    }

private:
    mutable std::mutex m_Mutex;
    std::vector<std::string> m_Lines;
};

/// A device without DirectSound: notes its operations and answers as it is told. The data loop waits for a command,
/// like the real ones.
class FakeDevice final : public DeviceContext {
public:
    FakeDevice(const FakeHost& host, Journal& journal, const std::string& deviceId = "{fake}",
               std::uint32_t contextId = 7)
        : DeviceContext(deviceId, contextId, host.host()), m_Journal(journal) {}
    ~FakeDevice() override { m_Journal.note("destroy " + m_DeviceId); }
    FakeDevice(const FakeDevice&) = delete;
    FakeDevice& operator=(const FakeDevice&) = delete;

    std::function<BackendResult()> onOpen = [] { return ORVO_OK; };
    std::function<BackendResult()> onStart = [] { return ORVO_OK; };
    std::function<BackendResult()> onStop = [] { return ORVO_OK; };
    std::function<void()> onProcess = [] {};
    using DeviceContext::m_LatencyBlocks;
    bool loopEndsByItself = false;
    WAVEFORMATEXTENSIBLE reported{}; ///< What the device says its format is.

protected:
    BackendResult open() override {
        m_Journal.note("open");
        *reinterpret_cast<WAVEFORMATEXTENSIBLE*>(allocateFormat()) = reported;
        return onOpen();
    }
    BackendResult start() override {
        m_Journal.note("start");
        return onStart();
    }
    BackendResult processData() override {
        m_Journal.note("processData");
        onProcess();
        if (!loopEndsByItself)
            m_CommandEvent.wait();
        return ORVO_OK;
    }
    BackendResult stop() override {
        m_Journal.note("stop");
        return onStop();
    }
    void close() noexcept override { m_Journal.note("close"); }

private:
    Journal& m_Journal;
};

} // namespace directsound
