// What must hold at every step of every schedule, beyond what simulation and client find by themselves.
//
// - locks are always taken in the same order: no two threads ever take two of them the other way round;
// - whoever is inside the DSP lock finds `dspIdleEvent` reset, and when nobody is it is set: no loop waits in vain;
// - the plug-in's threads never wait while they own a lock.
#pragma once

#include "client.h"
#include "simulation.h"

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

    // On a client thread, when nobody holds the DSP lock: takes it once to learn which section and event it is made of.
    void watch();

private:
    [[nodiscard]] std::string checkStep();
    [[nodiscard]] std::string checkLockOrder();
    [[nodiscard]] std::string checkDspLock() const;
    void checkWait(const char* call);

    simulator::Simulation& m_Sim;
    simulator::Client& m_Client;
    int m_DspSection = 0;
    int m_DspIdleEvent = 0;
    std::size_t m_KnownPairs = 0;
    bool m_Broken = false; // told once
};

// Whether the pairs "first before second" lead from some number back to it.
bool hasCycle(const std::set<std::pair<int, int>>& pairs);

} // namespace schedules
