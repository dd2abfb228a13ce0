#include "judgement.h"

#include "codes.h"
#include "required.h"

#include <algorithm>
#include <iterator>

namespace sweep {
namespace {

using simulator::Scheduler;
using Lines = std::vector<std::string>;

// No trouble, but a matter of time: whether a close has to be waited for, and how long a pass of a loop took.
bool isNeutral(const std::string& line) {
    return line == std::string(kErrorStream) + "Waiting for device to close" ||
           line.starts_with(std::string(kWarningLog) + "RenderDeviceContext::int_processData ");
}

// Takes one such line out. False: there is none.
bool takeOut(Lines& lines, const std::string& line) {
    const auto found = std::ranges::find(lines, line);
    if (found == lines.end())
        return false;
    lines.erase(found);
    return true;
}

std::string shown(const std::string& line) {
    return "\"" + line.substr(0, line.find('\0')) + "\"";
}

void judgeLines(const Fault& fault, const Outcome& clean, const Outcome& run, Lines& problems) {
    const Telling telling = requiredTelling(fault, clean.calls);
    Lines told = run.told;
    std::erase_if(told, isNeutral);
    if (telling.line && !takeOut(told, *telling.line))
        problems.push_back("not told: " + shown(*telling.line));
    // With other words a line is still a line.
    if (telling.changesOtherWords) {
        if (!fault.lasting && told.size() > clean.told.size() + 1)
            problems.push_back("more lines than without the fault");
        return;
    }
    // A device that the session itself troubles may be told of at another step, so these lines are not counted.
    Lines allowed = clean.told;
    if (fault.lasting)
        std::ranges::copy(possibleLines(fault), std::back_inserter(allowed));
    for (const std::string& line : told) {
        if (std::ranges::find(allowed, line) == allowed.end())
            problems.push_back("told for no reason: " + shown(line));
    }
}

void judgeEnd(const Fault& fault, const Outcome& run, Lines& problems) {
    if (run.report.ended == Scheduler::Ended::complete) {
        if (!run.complete)
            problems.emplace_back("the session did not come to its end");
    } else if (!mayEndStuck(fault)) {
        problems.emplace_back("the client waits for ever");
    }
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
    judgeEnd(fault, run, problems);
    judgeFindings(fault, run, problems);
    judgeLines(fault, clean, run, problems);
    return problems;
}

} // namespace sweep
