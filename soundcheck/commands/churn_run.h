/**
 * @file
 * Opens, starts, stops and closes devices as a plan says, and keeps the time. A call that fails is told with its
 * code; then everything is closed, and the plan begins anew. Main thread.
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

    /** @return false when the call failed and everything was closed */
    bool perform(const ChurnStep& step);
    /** Closes everything and waits until it is gone. */
    void closeAll();

    const ChurnTimes& times(ChurnCall call) const { return m_times[static_cast<std::size_t>(call)]; }
    const Failures& failures() const { return m_failures; }
    /** Blocks that all devices asked for or delivered. */
    std::uint64_t blocks() const { return m_blocks; }

private:
    void call(const ChurnStep& step);
    void open(std::size_t number);
    void countBlocks();
    void noteFailure(const ChurnStep& step, const BackendError& error);

    const RunContext& m_context;
    Checks& m_checks;
    Session& m_session;
    std::vector<PickedDevice> m_picked;
    std::vector<NotingStream*> m_streams;           ///< by device; null: never opened
    std::vector<std::unique_ptr<Device>> m_devices; ///< null: closed
    std::array<ChurnTimes, kChurnCalls.size()> m_times{};
    Failures m_failures;
    std::uint64_t m_blocks = 0;
};

} // namespace soundcheck
