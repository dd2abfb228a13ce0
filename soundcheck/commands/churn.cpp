#include "commands/churn.h"

#include "commands/churn_run.h"
#include "commands/device_run.h"
#include "commands/options.h"
#include "commands/supervision.h"
#include "platform/text.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <limits>
#include <random>

namespace soundcheck {
namespace {

constexpr std::uint64_t kUsualRounds = 200;

using Clock = std::chrono::steady_clock;

struct Limits {
    std::uint64_t rounds = kUsualRounds;
    Clock::time_point end = Clock::time_point::max();
};

Limits limitsOf(std::uint64_t rounds, double seconds) {
    Limits limits;
    if (seconds > 0) {
        limits.rounds = std::numeric_limits<std::uint64_t>::max();
        limits.end =
            Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    }
    if (rounds > 0)
        limits.rounds = rounds;
    return limits;
}

std::uint64_t randomSeed() {
    return std::random_device()() % 1000000; // short enough to be told on the telephone
}

/** @param rounds counts the calls */
Ending churn(const RunContext& context, ChurnRun& run, ChurnPlan& plan, const Limits& limits, std::uint64_t& rounds) {
    std::chrono::milliseconds pause(0);
    while (rounds < limits.rounds && Clock::now() < limits.end) {
        if (context.interrupt.waitFor(pause))
            return Ending::interrupted;
        const ChurnStep step = plan.next();
        if (!run.perform(step))
            plan.allClosed();
        ++rounds;
        pause = step.pause;
        if (context.console.isTerminal())
            context.console.progress("round " + std::to_string(rounds) + ", " + std::to_string(run.blocks()) +
                                     " blocks");
    }
    return Ending::complete;
}

Json callsOf(const ChurnRun& run) {
    Json calls = Json::object();
    for (const ChurnCall call : kChurnCalls) {
        const ChurnTimes& times = run.times(call);
        calls[callName(call)] = {{"count", times.count},
                                 {"failed", times.failed},
                                 {"average_ms", times.averageMilliseconds()},
                                 {"slowest_ms", times.slowestMilliseconds}};
    }
    return calls;
}

Json failuresOf(const ChurnRun& run) {
    Json failures = Json::array();
    for (const auto& [what, count] : run.failures())
        failures.push_back({{"call", callName(what.first)}, {"code", what.second}, {"count", count}});
    return failures;
}

void printTimes(Console& console, const ChurnRun& run) {
    for (const ChurnCall call : kChurnCalls) {
        const ChurnTimes& times = run.times(call);
        console.line(std::string(callName(call)) + ": " + std::to_string(times.count) + " calls, " +
                     std::to_string(times.failed) + " failed, " + fixedDecimals(times.averageMilliseconds(), 1) +
                     " ms on average, " + fixedDecimals(times.slowestMilliseconds, 1) + " ms at most");
    }
    for (const auto& [what, count] : run.failures())
        console.line(std::string(callName(what.first)) + " was answered with " + std::to_string(what.second) + " " +
                     std::to_string(count) + " time(s)");
    if (run.lateEvents() != 0)
        console.line("Wine woke a device " + std::to_string(run.lateEvents()) +
                     " time(s) that nobody had called (-232 or -233); tried again, it went well");
}

/** Rare ones are Wine's; more of them have another reason. */
void checkLateEvents(Checks& checks, const ChurnRun& run) {
    const std::uint64_t calls = run.times(ChurnCall::open).count + run.times(ChurnCall::start).count;
    checks.expect(run.lateEvents() <= ChurnRun::lateEventsAllowed(calls),
                  std::to_string(run.lateEvents()) + " of " + std::to_string(calls) +
                      " openings and starts were answered with -232 or -233; that is more than Wine is known for.");
}

} // namespace

std::string ChurnCommand::description() const {
    return "Open, start, stop and close devices in a random order";
}

void ChurnCommand::addOptions(CLI::App& app) {
    app.add_option("--device", m_devices, kPickHelp)->allow_extra_args(false)->type_name("DEVICE");
    app.add_option("--seed", m_seed, "The same seed gives the same order (default: any; it is told)")->type_name("N");
    addCount(app, "--rounds", m_rounds, "End after so many calls (default: 200, without --seconds)", 1);
    addSeconds(app, m_seconds, "End after this time");
}

ExitCode ChurnCommand::run(const RunContext& context) {
    Session session(context);
    const std::vector<PickedDevice> devices = pickDevices(session.backend(), m_devices);

    const std::uint64_t seed = m_seed.value_or(randomSeed());
    context.console.line("churning " + std::to_string(devices.size()) + " devices with --seed " +
                         std::to_string(seed));
    Checks checks(context);
    ChurnRun churned(context, checks, session, devices);
    ChurnPlan plan(seed, devices.size());
    std::uint64_t rounds = 0;
    const Ending ending = churn(context, churned, plan, limitsOf(m_rounds, m_seconds), rounds);
    churned.closeAll();

    printTimes(context.console, churned);
    Summary summary;
    summary.add("seed", seed).add("rounds", rounds).add("devices", std::uint64_t{devices.size()});
    for (const ChurnCall call : kChurnCalls)
        summary.add(callName(call), churned.times(call).count)
            .add(std::string("slowest_") + callName(call) + "_ms", churned.times(call).slowestMilliseconds, 1);
    std::uint64_t failed = 0;
    for (const auto& failure : churned.failures())
        failed += failure.second;
    summary.add("failed", failed).add("late_events", churned.lateEvents()).add("blocks", churned.blocks());
    tellSummary(context, name(), summary, endingName(ending),
                {{"calls", callsOf(churned)}, {"failures", failuresOf(churned)}});
    checkLateEvents(checks, churned);
    checkLog(checks, session.log());
    if (rounds == 0 && !checks.failed())
        throw InterruptedTooEarly();
    return checks.exitCode();
}

} // namespace soundcheck
