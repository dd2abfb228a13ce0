#include "judgement.h"

#include "codes.h"
#include "required.h"

#include <algorithm>

namespace sweep {
namespace {

using simulator::Scheduler;
using Lines = std::vector<std::string>;

// No trouble, but a matter of time: whether a close has to be waited for, and how long a pass of a loop took.
bool isNeutral(const std::string& told) {
    const std::string line = partsOf(told).line;
    return line == std::string(kErrorStream) + "Waiting for device to close" ||
           line.starts_with(std::string(kWarningLog) + "RenderDeviceContext::int_processData ");
}

// Takes one such line out. False: there is none.
template <class Condition>
bool takeOut(Lines& lines, Condition holds) {
    const auto found = std::ranges::find_if(lines, holds);
    if (found == lines.end())
        return false;
    lines.erase(found);
    return true;
}

bool isOf(const std::string& told, const Telling& telling) {
    const ToldLine parts = partsOf(told);
    return parts.line == telling.line &&
           (telling.categories.empty() ||
            std::ranges::find(telling.categories, parts.category) != telling.categories.end());
}

std::string shown(const std::string& line) {
    return "\"" + line.substr(0, line.find('\0')) + "\"";
}

// Where a line was written, and of which device.
std::string originOf(const std::string& told) {
    return told.substr(0, told.find(": "));
}

void judgeLines(const Fault& fault, const Outcome& clean, const Outcome& run, Lines& problems) {
    const Telling telling = requiredTelling(fault, clean.calls);
    Lines told = run.told;
    std::erase_if(told, isNeutral);
    if (telling.line && !takeOut(told, [&](const std::string& line) { return isOf(line, telling); }))
        problems.push_back("not told: " + shown(*telling.line));
    Lines allowed = clean.told;
    std::erase_if(allowed, isNeutral);
    const Lines again = fault.lasting ? possibleLines(fault) : Lines{};
    for (const std::string& line : told) {
        if (std::ranges::find(again, partsOf(line).line) != again.end())
            continue;
        // With other words a line is still a line, and of the same device.
        const bool asInCleanRun = takeOut(allowed, [&](const std::string& known) {
            return telling.changesOtherWords ? originOf(known) == originOf(line) : known == line;
        });
        if (!asInCleanRun)
            problems.push_back("told for no reason: " + shown(line));
    }
}

void judgeEnd(const Fault& fault, const Outcome& clean, const Outcome& run, Lines& problems) {
    const char* const stuck = whyEndsStuck(fault, clean.calls);
    const bool complete = run.report.ended == Scheduler::Ended::complete;
    if (complete && stuck)
        problems.push_back(std::string("the client does not wait for ever, though ") + stuck);
    else if (complete && !run.complete)
        problems.emplace_back("the session did not come to its end");
    else if (!complete && !stuck)
        problems.emplace_back("the client waits for ever");
}

void judgeFindings(const Fault& fault, const Outcome& run, Lines& problems) {
    const char* required = requiredFinding(fault);
    for (const std::string& finding : run.report.problems) {
        const bool isStuck = finding.starts_with("hang:") || finding.starts_with("deadlock:"); // judged by judgeEnd
        if (!isStuck && finding != (required ? required : ""))
            problems.push_back(finding);
    }
}

} // namespace

Lines judgeClean(const Outcome& clean) {
    Lines problems = clean.report.problems;
    if (!clean.complete)
        problems.emplace_back("the session did not come to its end");
    for (const std::string& what : clean.broken)
        problems.push_back("not so: " + what);
    for (const std::string& name : unknownCalls(clean.calls))
        problems.push_back(name + " is called, but nobody has said with what it fails");
    for (const std::string& name : incompleteCalls(clean.calls))
        problems.push_back("the session is too long: not every call of " + name + " was recorded");
    return problems;
}

Lines judge(const Fault& fault, const Outcome& clean, const Outcome& run) {
    Lines problems;
    if (run.hits == 0)
        problems.emplace_back("the call never came");
    judgeEnd(fault, clean, run, problems);
    judgeFindings(fault, run, problems);
    judgeLines(fault, clean, run, problems);
    return problems;
}

} // namespace sweep
