// Runs a small scenario under many schedules, each in a simulation of its own, and fails on the first bad one.
#pragma once

#include "client.h"
#include "simulation.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

namespace scenario {

using Play = std::function<void(simulator::Simulation&, simulator::Client&)>;

// The report of one run; its problems are a failure.
inline simulator::Report playUnder(const std::function<void(simulator::Simulation&)>& setSchedule, const Play& play) {
    simulator::Simulation sim;
    simulator::Client client(sim);
    setSchedule(sim);
    bool played = false;
    simulator::Report report = sim.run([&] {
        play(sim, client);
        played = true;
    });
    EXPECT_TRUE(played && report.problems.empty()) << report.text();
    return report;
}

// Every schedule with one forced switch; returns how many there were.
inline unsigned playWithEverySwitch(const Play& play) {
    const simulator::Report first = playUnder([](simulator::Simulation&) {}, play);
    unsigned runs = 1;
    for (std::size_t choice = 0; choice < first.candidatesPerChoice.size(); ++choice) {
        for (std::size_t candidate = 1; candidate < first.candidatesPerChoice[choice]; ++candidate) {
            playUnder([&](simulator::Simulation& sim) { sim.forceSwitches({{choice, candidate}}); }, play);
            ++runs;
            if (::testing::Test::HasFailure())
                return runs;
        }
    }
    return runs;
}

inline void playWithSeeds(unsigned seeds, const Play& play) {
    for (unsigned seed = 1; seed <= seeds && !::testing::Test::HasFailure(); ++seed)
        playUnder([&](simulator::Simulation& sim) { sim.randomSchedule(seed); }, play);
}

} // namespace scenario
