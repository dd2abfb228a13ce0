#include "commands/soak.h"

#include "audio/level_meter.h"
#include "commands/device_list.h"
#include "commands/device_run.h"
#include "commands/options.h"
#include "commands/soak_run.h"

#include <CLI/CLI.hpp>

namespace soundcheck {
namespace {

Summary summaryOf(const SoakRow& row) {
    Summary summary;
    summary.addQuoted("device", row.name)
        .addWord("direction", directionName(row.direction))
        .addWord("state", stateName(row.state))
        .add("blocks", row.blocks)
        .add("peak_db", decibels(row.loudestPeak), 1)
        .add("intervals", row.intervals.intervals())
        .add("min_ms", row.intervals.minMilliseconds(), 2)
        .add("average_ms", row.intervals.averageMilliseconds(), 2)
        .add("longest_gap_ms", row.longestGapMilliseconds(), 2)
        .add("deviation_ms", row.intervals.deviationMilliseconds(), 2)
        .add("late", row.intervals.late())
        .add("bursts", row.intervals.bursts())
        .add("longest_burst", row.intervals.longestBurst())
        .add("stalls", static_cast<std::uint64_t>(row.stalls));
    if (row.associated)
        summary.add("with_reference", row.withReference).add("without_reference", row.withoutReference);
    return summary;
}

/** The numbers of the summary, and what a picture needs besides. */
Json sectionOf(const SoakRow& row, const Summary& summary) {
    Json section = summary.values();
    section["histogram_ms"] = row.intervals.histogram();
    section["late_callbacks"] = Json::array();
    for (const IntervalStatistics::Late& late : row.intervals.lateCallbacks())
        section["late_callbacks"].push_back({{"seconds", late.seconds}, {"milliseconds", late.milliseconds}});
    return section;
}

void tellRows(const RunContext& context, const std::string& command, const std::vector<SoakRow>& rows,
              std::string_view ended) {
    if (!context.console.isTerminal()) // there it stands already
        for (const std::string& line : soakTable(rows, kAnyWidth))
            context.console.line(line);
    Json devices = Json::array();
    for (const SoakRow& row : rows) {
        const Summary summary = summaryOf(row);
        tellSummaryLine(context, command, summary, ended);
        devices.push_back(sectionOf(row, summary));
    }
    context.document.set(command, {{"devices", std::move(devices)}});
}

void checkRow(Checks& checks, const SoakRow& row, std::uint64_t maxLate, Ending ending) {
    if (row.state == SoakState::failed)
        return; // told when it happened
    checks.expect(row.blocks > 0 || ending == Ending::interrupted, row.name + " gave no block.");
    checks.expect(row.stalls == 0, row.name + " stood still " + std::to_string(row.stalls) + " time(s).");
    checks.expect(row.intervals.late() <= maxLate, row.name + " was late " + std::to_string(row.intervals.late()) +
                                                       " time(s); " + std::to_string(maxLate) + " are allowed.");
}

} // namespace

std::string SoakCommand::description() const {
    return "Run many devices at once and watch how regularly they call";
}

void SoakCommand::addOptions(CLI::App& app) {
    app.add_option("--device", m_devices, kPickHelp)->allow_extra_args(false)->type_name("DEVICE");
    addSeconds(app, m_seconds, "Run this long (default: 60)");
    addCount(app, "--max-late", m_maxLate, "Late callbacks that a device may have; by default they are only counted",
             0);
}

ExitCode SoakCommand::run(const RunContext& context) {
    Session session(context);
    const std::vector<PickedDevice> devices = pickDevices(session.backend(), m_devices);

    Checks checks(context);
    SoakRun soak(context, checks, session, devices);
    soak.begin();
    const Ending ending = soak.watch(m_seconds);
    soak.shutDown();

    tellRows(context, name(), soak.rows(), endingName(ending));
    for (const SoakRow& row : soak.rows())
        checkRow(checks, row, m_maxLate, ending);
    checkLog(checks, session.log());
    checks.expect(soak.lostNotes() == 0,
                  "soundcheck was too slow to count " + std::to_string(soak.lostNotes()) + " block(s).");
    checks.expect(ending != Ending::gaveUp, "No device went on; soundcheck gave up.");
    if (ending == Ending::interrupted && !soak.allBegan() && !checks.failed())
        throw InterruptedTooEarly();
    return checks.exitCode();
}

} // namespace soundcheck
