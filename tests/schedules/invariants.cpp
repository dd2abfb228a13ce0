#include "invariants.h"

#include <algorithm>

namespace schedules {
namespace {

// "S3" and "E12" are the names of section 3 and event 12.
int numberIn(const std::string& name) {
    return std::stoi(name.substr(1));
}

} // namespace

bool hasCycle(const std::set<std::pair<int, int>>& pairs) {
    // What leads nowhere is taken away until nothing is left, or a cycle.
    std::set<std::pair<int, int>> left = pairs;
    const auto leadsOn = [&](int number) {
        return std::ranges::any_of(left, [number](const auto& pair) { return pair.first == number; });
    };
    while (std::erase_if(left, [&](const auto& pair) { return !leadsOn(pair.second); }) > 0) {
    }
    return !left.empty();
}

void Invariants::watch() {
    m_Client.lockDsp();
    m_Client.unlockDsp();
    m_DspSection = numberIn(m_Sim.calls("EnterCriticalSection").back().subject);
    m_DspIdleEvent = numberIn(m_Sim.calls("SetEvent").back().subject);
    m_Sim.invariant([this] { return checkStep(); });
    for (const char* call : {"WaitForSingleObject", "WaitForMultipleObjects", "Sleep"})
        m_Sim.on(call).does([this, call] { checkWait(call); });
}

std::string Invariants::checkStep() {
    if (m_Broken)
        return "";
    std::string problem = checkLockOrder();
    if (problem.empty())
        problem = checkDspLock();
    m_Broken = !problem.empty();
    return problem;
}

std::string Invariants::checkLockOrder() {
    const std::set<std::pair<int, int>>& pairs = m_Sim.kernel().lockOrder();
    if (pairs.size() == m_KnownPairs)
        return "";
    m_KnownPairs = pairs.size();
    if (!hasCycle(pairs))
        return "";
    std::string problem = "locks are taken in different orders:";
    for (const auto& [first, second] : pairs)
        problem.append(" S").append(std::to_string(first)).append(" before S").append(std::to_string(second));
    return problem;
}

std::string Invariants::checkDspLock() const {
    const std::optional<bool> idle = m_Sim.kernel().signalled(m_DspIdleEvent);
    if (!idle)
        return ""; // the backend is gone
    if (*idle && m_Client.insideDspLock())
        return "dspIdleEvent is set while somebody is inside the DSP lock";
    if (!*idle && !m_Sim.kernel().ownerOf(m_DspSection))
        return "dspIdleEvent is not set, and nobody is inside the DSP lock";
    return "";
}

void Invariants::checkWait(const char* call) {
    const simulator::ThreadState& self = *simulator::Scheduler::current();
    if (self.kind != simulator::ThreadKind::plugin)
        return; // a client may do so while it holds the DSP lock
    for (const std::string& section : m_Sim.kernel().ownedBy(self))
        m_Sim.findings().add(self.name + " calls " + call + " while it owns " + section);
}

} // namespace schedules
