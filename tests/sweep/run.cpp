#include "run.h"

#include "codes.h"
#include "required.h"

namespace sweep {
namespace {

constexpr unsigned kHangLimitSeconds = 10;

void addLines(std::vector<std::string>& told, const char* prefix, const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        told.push_back(prefix + line);
}

const simulator::Rule& script(simulator::Simulation& sim, const Fault& fault) {
    simulator::Rule& rule = sim.on(fault.call).fails();
    if (!fault.subject.empty())
        rule.of(fault.subject);
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

} // namespace

Outcome runSession(const Session& session, const Fault* fault) {
    simulator::Simulation sim;
    simulator::Client client(sim);
    Stage stage(sim, client);
    Outcome outcome;
    sim.hangLimit(kHangLimitSeconds);
    for (const SystemMessage& message : systemMessages())
        sim.system().messages[message.value] = message.text;
    const simulator::Rule* rule = fault ? &script(sim, *fault) : nullptr;
    outcome.report = sim.run([&] {
        session.play(stage);
        if (fault)
            allowRemainder(sim, *fault, rule->hits());
        outcome.complete = true;
    });
    outcome.hits = rule ? rule->hits() : 0;
    addLines(outcome.told, kErrorLog, client.logTexts(1));
    addLines(outcome.told, kWarningLog, client.logTexts(2));
    addLines(outcome.told, kErrorStream, sim.errorLines());
    addLines(outcome.told, kOutputStream, sim.outputLines());
    outcome.broken = stage.broken();
    if (!fault)
        outcome.calls = {sim.script().callsBeginning(""),
                         {sim.script().counts().begin(), sim.script().counts().end()}};
    return outcome;
}

} // namespace sweep
