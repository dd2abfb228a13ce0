// Who runs next. A policy is asked only where at least two threads can run; the answers of one run are its schedule.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace simulator {

class Policy {
public:
    Policy() = default;
    virtual ~Policy() = default;
    Policy(const Policy&) = delete;
    Policy& operator=(const Policy&) = delete;

    // Index of the thread to run. 0 is the running thread when runningCanGoOn; the others follow, the one that
    // has been able to run for longest first. `choice` counts the questions of the run from 0.
    virtual std::size_t choose(std::uint64_t choice, std::size_t candidates, bool runningCanGoOn) = 0;
    // How to get the same schedule again.
    [[nodiscard]] virtual std::string describe() const = 0;
    // What of the policy could not be done in the run that it was asked about, one text each.
    [[nodiscard]] virtual std::vector<std::string> unmet() const { return {}; }
};

// A thread runs until it has to wait.
std::unique_ptr<Policy> runUntilBlocked();
// Any switching point may change the thread, as the seed has it.
std::unique_ptr<Policy> randomSchedule(std::uint64_t seed);
// As runUntilBlocked, but at the given choices the given candidate runs; a candidate that is not there is the last.
std::unique_ptr<Policy> forcedSwitches(std::map<std::uint64_t, std::size_t> switches);

} // namespace simulator
