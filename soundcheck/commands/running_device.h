/**
 * @file
 * One device of a command, over all its openings: a device that stands still is closed, waited for and opened anew.
 * That is what a client can do about a frozen device, as DirectSound does not call that an error.
 *
 * Thread: the main thread. Ownership: owns the device; its stream belongs to the session, is found by the device's
 * identifier and stays over a reopening. Failure: opening and starting throw BackendError; reopening tells and retries.
 */
#pragma once

#include "commands/session.h"
#include "commands/supervision.h"

#include <chrono>
#include <functional>
#include <memory>

namespace soundcheck {

class RunningDevice {
public:
    static constexpr int kAttempts = 3; ///< of reopening, in the whole run
    static constexpr auto kPause = std::chrono::milliseconds(500);

    /** What is to be done with a device between open and start. */
    using Prepare = std::function<void(Device&)>;

    /** Opens the device. */
    RunningDevice(const RunContext& context, Session& session, DeviceDirection direction, DeviceEntry entry);

    const std::string& name() const { return m_entry.name; }
    const std::string& id() const { return m_entry.id; }
    /** Of the first opening; a reopening with another one counts as failed. */
    const DeviceFormat& format() const { return m_format; }
    /** The device as it is open now; not to be kept. */
    Device& device() { return *m_device; }

    /** Starts the device. @param prepare is kept for the reopenings; not called now */
    void start(Prepare prepare = {});

    /** What a Supervision does when this device stands still: `reopen`, where the user asked for it. */
    Supervision::Remedy remedy(bool asked);

    /** Close, wait, reopen, start. @return whether it runs again; no attempt is left otherwise, or Ctrl-C came */
    bool reopen();

    /** Stops and closes the device, if it is there, and waits until it is gone. */
    void shutDown();

    int reopenings() const { return m_reopenings; }

private:
    void giveUp();
    bool tryToOpen();

    const RunContext& m_context;
    Session& m_session;
    const DeviceDirection m_direction;
    const DeviceEntry m_entry;
    std::unique_ptr<Device> m_device; ///< null while it cannot be opened
    DeviceFormat m_format;
    Prepare m_prepare;
    int m_attempts = 0;
    int m_reopenings = 0;
};

} // namespace soundcheck
