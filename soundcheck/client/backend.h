/**
 * @file
 * One backend: initialize to finalize, its device lists, and the way from its C callbacks to a C++ interface.
 *
 * Thread: made and destroyed on one thread (the plug-in's window belongs to it); everything else from one thread
 * at a time. Ownership: the listener and the Library outlive the Backend, every Device goes before it. Failure:
 * BackendError.
 */
#pragma once

#include "client/library.h"
#include "orvosoundbackend.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace soundcheck {

/**
 * What the plug-in tells its client. Each function keeps the thread and the duties that the plug-in's header
 * names: the audio functions run on a device's thread with the DSP lock held and return within a few
 * milliseconds; `logMessage` runs on any thread, also on several at once. Exceptions do not get through: an
 * exception is caught before it reaches the plug-in and counts as "nothing delivered".
 */
class BackendListener {
public:
    BackendListener() = default;
    BackendListener(const BackendListener&) = delete;
    BackendListener& operator=(const BackendListener&) = delete;
    virtual ~BackendListener() = default;

    /** 20 ms are wanted. @return frames written to `block.samples`; the plug-in makes the rest silence */
    virtual std::int32_t fillPlayback(std::string_view deviceId, const AudioBlock& block);
    /** 20 ms were captured. @param reference null when there is no echo reference */
    virtual void takeCapture(std::string_view deviceId, const AudioBlock& captured, const AudioBlock* reference);
    virtual void deviceChanged(DeviceEventCode event, std::string_view deviceId, std::int32_t value);
    virtual void logMessage(std::string_view deviceId, std::string_view message, std::int32_t level);
};

/** One device of a list. */
struct DeviceEntry {
    int number = 0; ///< 1, 2, ... in the order of the list, per direction
    std::string id;
    std::string name;
    bool isDefault = false; ///< the default voice device of its direction
};

/** What the association says about the blocks that will come as echo reference. */
struct EchoFormat {
    std::uint32_t channelMask = 0;
    std::uint32_t bitsPerSample = 0;
    std::uint32_t sampleRate = 0;
    std::uint32_t associationCounter = 0;
};

class Backend {
public:
    Backend(const Library& library, BackendListener& listener);
    Backend(const Backend&) = delete;
    Backend& operator=(const Backend&) = delete;
    /** Waits until every closed device is gone, then finalizes: the order that the plug-in asks for. */
    ~Backend();

    const Library& library() const { return m_library; }
    const Exports& exports() const { return m_library.exports(); }
    DirectSoundBackend* handle() const { return m_backend; }

    std::vector<DeviceEntry> devices(DeviceDirection direction) const;
    /** Identifier of the default voice device, if one is marked. */
    std::optional<std::string> defaultDevice(DeviceDirection direction) const;

    /** After this no callback of a closed device comes any more. */
    void waitForClosedDevices() const;

    /** A number that no device of this backend was opened with before. */
    std::uint32_t newContextId() { return ++m_lastContextId; }

private:
    const Library& m_library;
    DirectSoundBackend* m_backend = nullptr;
    std::uint32_t m_lastContextId = 0;
};

/** Keeps the audio callbacks away while it lives. Not to be nested; released on the thread that made it. */
class DspLockGuard {
public:
    explicit DspLockGuard(const Backend& backend);
    DspLockGuard(const DspLockGuard&) = delete;
    DspLockGuard& operator=(const DspLockGuard&) = delete;
    ~DspLockGuard();

private:
    const Backend& m_backend;
};

} // namespace soundcheck
