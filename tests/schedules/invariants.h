// What must hold at every step of every schedule, beyond what simulation and client find by themselves.
//
// - locks are always taken in the same order: no two threads ever take two of them the other way round;
// - whoever is inside the DSP lock finds `dspIdleEvent` reset, and when nobody is it is set: no loop waits in vain;
// - nobody waits, closes a handle or sleeps while he owns a lock, but for a client that does so inside the DSP lock;
// - from each start to the end of a device's life, what it plays and what the client is given of it are numbered
//   blocks without a gap, a repetition or anything else between them.
#pragma once

#include "client.h"
#include "simulation.h"

#include <map>
#include <set>
#include <string>
#include <utility>

namespace schedules {

class Invariants {
public:
    Invariants(simulator::Simulation& simulation, simulator::Client& client) : m_Sim(simulation), m_Client(client) {}
    ~Invariants() = default;
    Invariants(const Invariants&) = delete;
    Invariants& operator=(const Invariants&) = delete;

    // On a client thread, when nobody holds the DSP lock: takes it once to learn which section and event it is made
    // of. Of a device that already plays or records, what came before counts as well.
    void watch();

private:
    void learnDspLock();
    void followStreams();
    [[nodiscard]] std::string checkStep();
    [[nodiscard]] std::string checkLockOrder();
    [[nodiscard]] std::string checkDspLock() const;
    [[nodiscard]] std::string checkStreams();
    void checkCall(const char* call);

    simulator::Simulation& m_Sim;
    simulator::Client& m_Client;
    int m_DspSection = 0;
    int m_DspIdleEvent = 0;
    std::size_t m_KnownPairs = 0;
    std::map<std::string, simulator::NumberedChecker> m_Played;   // of this life, by label
    std::map<std::string, simulator::NumberedChecker> m_Recorded; // of this life, by identifier
    std::size_t m_CapturedSeen = 0;
    bool m_Broken = false; // told once
};

// Whether the pairs "first before second" lead from some number back to it.
bool hasCycle(const std::set<std::pair<int, int>>& pairs);

} // namespace schedules
