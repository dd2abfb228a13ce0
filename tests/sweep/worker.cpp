#include "worker.h"

#include "judgement.h"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace sweep {
namespace {

constexpr LONG kFaultsPerProcess = 500; // each loads the DLL anew, and Wine does that a thousand times only

void print(const std::string& title, const std::vector<std::string>& problems) {
    std::printf("FAILED %s\n", title.c_str());
    for (const std::string& problem : problems)
        std::printf("    %s\n", problem.c_str());
    std::fflush(stdout);
}

// Empty when the session is no good even without a fault.
std::optional<Outcome> runAndJudgeClean(const Session& session) {
    Outcome clean = runClean(session);
    const std::vector<std::string> problems = judgeClean(clean);
    if (problems.empty())
        return clean;
    print(std::string(session.name) + " without a fault", problems);
    return std::nullopt;
}

} // namespace

bool runFaults(const Session& session, std::size_t atMost, Progress& progress) {
    const auto clean = runAndJudgeClean(session);
    if (!clean)
        return false;
    const std::vector<Fault> all = allFaults(session.name, clean->calls);
    const std::vector<Fault> chosen = sampleOf(all, atMost);
    progress.calls = static_cast<LONG>(callsHitBy(all));
    progress.faults = static_cast<LONG>(all.size());
    progress.chosen = static_cast<LONG>(chosen.size());
    const LONG end = std::min(progress.chosen, progress.next + kFaultsPerProcess);
    for (; progress.next < end; ++progress.next) {
        const Fault& fault = chosen[static_cast<std::size_t>(progress.next)];
        std::snprintf(progress.words.data(), progress.words.size(), "%s", words(fault).c_str());
        progress.busy = 1;
        const std::vector<std::string> problems = judge(fault, *clean, runWith(fault, session, *clean));
        progress.busy = 0;
        if (problems.empty())
            continue;
        print(std::string("--fault \"").append(progress.words.data()).append("\""), problems);
        ++progress.failed;
    }
    return true;
}

bool replay(std::string_view text) {
    const auto fault = parseFault(text);
    const Session* session = fault ? findSession(fault->session) : nullptr;
    if (!session) {
        std::printf("no fault of any session: %.*s\n", static_cast<int>(text.size()), text.data());
        return false;
    }
    const auto clean = runAndJudgeClean(*session);
    if (!clean)
        return false;
    const Outcome run = runWith(*fault, *session, *clean);
    std::printf("%s", run.report.text().c_str());
    for (const std::string& line : run.told)
        std::printf("told: %s\n", line.c_str());
    const std::vector<std::string> problems = judge(*fault, *clean, run);
    if (!problems.empty())
        print(words(*fault), problems);
    return problems.empty();
}

bool list(const Session& session) {
    const auto clean = runAndJudgeClean(session);
    if (!clean)
        return false;
    for (const Fault& fault : allFaults(session.name, clean->calls))
        std::printf("%s\n", words(fault).c_str());
    return true;
}

} // namespace sweep
