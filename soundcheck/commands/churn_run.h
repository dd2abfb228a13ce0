/**
 * @file
 * Opens, starts, stops and closes devices as a plan says, and keeps the time. When a call fails everything is closed,
 * the failure is told with its code, and the plan begins anew. Main thread.
 *
 * Wine sets the event of a sound stream once more after the stream was closed, now and then. When its handle is another
 * event by then, a device is woken that nobody called, and the call that comes next is answered with -232 or -233. That
 * tells nothing about the plug-in, so it is counted apart, but only in Wine, only when the device then opens and starts,
 * and only while it is as rare as seen there.
 */
#pragma once

#include "commands/checks.h"
#include "commands/churn_plan.h"
#include "commands/device_pick.h"
#include "commands/session.h"
#include "streams/noting_streams.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace soundcheck {

/** All calls of one kind. */
struct ChurnTimes {
    std::uint64_t count = 0;
    std::uint64_t failed = 0;
    double totalMilliseconds = 0;
    double slowestMilliseconds = 0;

    double averageMilliseconds() const { return count == 0 ? 0.0 : totalMilliseconds / static_cast<double>(count); }
};

class ChurnRun {
public:
    /** How often which call was answered with which code. */
    using Failures = std::map<std::pair<ChurnCall, BackendResult>, std::uint64_t>;

    ChurnRun(const RunContext& context, Checks& checks, Session& session, std::vector<PickedDevice> devices);

    /** Late events that so many openings and starts may meet in Wine; ten times what was seen. */
    static std::uint64_t lateEventsAllowed(std::uint64_t calls) { return 2 + calls / 20; }

    /** @return false when the call failed and everything was closed */
    bool perform(const ChurnStep& step);
    /** Closes everything and waits until it is gone. */
    void closeAll();

    const ChurnTimes& times(ChurnCall call) const { return m_times[static_cast<std::size_t>(call)]; }
    const Failures& failures() const { return m_failures; }
    /** Calls that failed by a late event of Wine, and are no failures. */
    std::uint64_t lateEvents() const { return m_lateEvents; }
    /** Blocks that all devices asked for or delivered. */
    std::uint64_t blocks() const { return m_blocks; }

private:
    void call(const ChurnStep& step);
    void open(std::size_t number);
    void countBlocks();
    /** Tries the device out of turn. */
    bool opensAndStarts(std::size_t number);
    void noteFailure(const ChurnStep& step, const BackendError& error);

    const RunContext& m_context;
    Checks& m_checks;
    Session& m_session;
    std::vector<PickedDevice> m_picked;
    std::vector<NotingStream*> m_streams;           ///< by device; null: never opened
    std::vector<std::unique_ptr<Device>> m_devices; ///< null: closed
    std::array<ChurnTimes, kChurnCalls.size()> m_times{};
    Failures m_failures;
    std::uint64_t m_lateEvents = 0;
    std::uint64_t m_blocks = 0;
};

} // namespace soundcheck
