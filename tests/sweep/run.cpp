#include "run.h"

#include "codes.h"
#include "required.h"

#include <algorithm>

namespace sweep {
namespace {

constexpr unsigned kHangLimitSeconds = 3; // nothing waits that long and still comes to an end
constexpr unsigned kEnoughThreads = 8;    // for every clean run

void addLines(std::vector<std::string>& told, const char* prefix, const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        told.push_back(prefix + line);
}

// The label of the device with this identifier; the identifier itself when there is none.
std::string labelOf(simulator::Simulation& sim, const std::string& id) {
    for (const Direction direction : {Direction::playback, Direction::capture}) {
        for (const Device* device : sim.sound().all(direction)) {
            if (device->id() == id)
                return device->label();
        }
    }
    return id;
}

void addLogs(std::vector<std::string>& told, simulator::Simulation& sim, const simulator::Client& client) {
    for (const std::int32_t level : {1, 2}) {
        for (const simulator::LogLine& line : client.logs) {
            if (line.level == level)
                told.push_back(logged(level, labelOf(sim, line.category), line.text));
        }
    }
}

const simulator::Rule& script(simulator::Simulation& sim, const Fault& fault) {
    simulator::Rule& rule = sim.on(fault.call).of(fault.subject).fails();
    if (fault.lasting)
        rule.fromCall(fault.n);
    else
        rule.onCall(fault.n);
    if (fault.code.result)
        rule.fails(*fault.code.result);
    if (fault.code.error)
        rule.failsWithError(*fault.code.error);
    return rule;
}

void allowRemainder(simulator::Simulation& sim, const Fault& fault, unsigned hits) {
    if (const auto left = requiredRemainder(fault))
        sim.expectLeft(left->kind, sim.expectedLeft(left->kind) + hits);
}

// Null: without one.
Outcome play(const Session& session, const Fault* fault, unsigned threadsAtOnce) {
    simulator::Simulation sim;
    simulator::Client client(sim);
    Stage stage(sim, client);
    Outcome outcome;
    sim.hangLimit(kHangLimitSeconds);
    sim.threadsAtOnce(threadsAtOnce);
    for (const SystemMessage& message : systemMessages())
        sim.system().messages[message.value] = message.text;
    const simulator::Rule* rule = fault ? &script(sim, *fault) : nullptr;
    outcome.report = sim.run([&] {
        session.play(stage);
        if (fault)
            allowRemainder(sim, *fault, rule->hits());
        outcome.complete = true;
    });
    outcome.threads = static_cast<unsigned>(sim.scheduler().mostAtOnce()) - 1;
    outcome.hits = rule ? rule->hits() : 0;
    addLogs(outcome.told, sim, client);
    addLines(outcome.told, kErrorStream, sim.errorLines());
    addLines(outcome.told, kOutputStream, sim.outputLines());
    outcome.broken = stage.broken();
    if (!fault)
        outcome.calls = {sim.script().callsBeginning(""),
                         {sim.script().counts().begin(), sim.script().counts().end()}};
    return outcome;
}

} // namespace

std::string logged(std::int32_t level, const std::string& category, const std::string& text) {
    return "log " + std::to_string(level) + " [" + category + "]: " + text;
}

ToldLine partsOf(const std::string& told) {
    const std::size_t colon = std::min(told.find("]: "), told.size());
    if (!told.starts_with("log ") || colon == told.size())
        return {told, {}};
    const std::size_t bracket = told.find(" [");
    return {told.substr(0, bracket) + told.substr(colon + 1), told.substr(bracket + 2, colon - bracket - 2)};
}

Outcome runClean(const Session& session) {
    return play(session, nullptr, kEnoughThreads);
}

// A thread that the simulation prepares costs more than most sessions do, so it gets no more than the session needs.
Outcome runWith(const Fault& fault, const Session& session, const Outcome& clean) {
    Outcome outcome = play(session, &fault, clean.threads);
    if (outcome.threads > clean.threads) // the fault kept one there
        outcome = play(session, &fault, outcome.threads);
    return outcome;
}

} // namespace sweep
