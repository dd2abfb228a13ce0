/**
 * @file
 * Many devices in one run: opened, started, watched and shut down each on its own, so that one that fails is told
 * and the others go on. Playback devices play a soft tone; each serves one capture device as its echo reference, while
 * there are enough of them. Main thread.
 */
#pragma once

#include "commands/checks.h"
#include "commands/device_pick.h"
#include "commands/session.h"
#include "commands/soak_watch.h"
#include "commands/supervision.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace soundcheck {

class SoakRun {
public:
    SoakRun(const RunContext& context, Checks& checks, Session& session, const std::vector<PickedDevice>& devices);

    /** Opens and starts all devices, or returns early at Ctrl-C. Throws Failure when none of them runs. */
    void begin();
    /** Ends early when no device gives anything any more. */
    Ending watch(double seconds);
    /** Stops and closes all; the numbers are those of before. */
    void shutDown();

    /** In the order of the devices. */
    std::vector<SoakRow> rows() const;
    /** Whether every device that did not fail has given a block. */
    bool allBegan() const;
    std::uint64_t lostNotes() const;

private:
    struct Member {
        PickedDevice picked;
        SoakWatch watch;
    };

    bool attempt(Member& member, const std::function<void()>& step);
    void open(std::size_t number);
    void start(std::size_t number);
    /** The default device first. */
    std::vector<std::size_t> openDevices(DeviceDirection direction) const;
    void associate();

    const RunContext& m_context;
    Checks& m_checks;
    Session& m_session;
    std::vector<Member> m_members;
    std::vector<NotingStream*> m_streams;           ///< by member; null: not open
    std::vector<std::unique_ptr<Device>> m_devices; ///< by member; null: not open
};

} // namespace soundcheck
