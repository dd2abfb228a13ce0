// All faults that a session can be tried with, from the record of its clean run.
#pragma once

#include "fault.h"
#include "simulation.h"

#include <map>
#include <vector>

namespace sweep {

// What a run called.
struct Calls {
    std::vector<simulator::CallRecord> records;          // all but allocations, in the order of their ends
    std::map<std::string, unsigned, std::less<>> counts; // all

    // The record of the call that the fault hits first; null for an allocation.
    [[nodiscard]] const simulator::CallRecord* hitBy(const Fault& fault) const;
    // Those of all calls that it would hit if they came as in this run.
    [[nodiscard]] std::vector<const simulator::CallRecord*> allHitBy(const Fault& fault) const;
};

// Every call of every name and subject, once and from then on, with every answer. Allocations fail once only: when
// there is no memory any more, the runtime inside the DLL has none for an exception's own record and ends or hangs the
// process. For the same reason calloc and realloc never fail: only that runtime calls them, for its thread records.
std::vector<Fault> allFaults(std::string_view session, const Calls& calls);
// How many calls these faults begin with.
std::size_t callsHitBy(const std::vector<Fault>& faults);

// Names that were called and are neither made to fail nor known as never failing.
std::vector<std::string> unknownCalls(const Calls& calls);
// Names of which the record does not hold every call.
std::vector<std::string> incompleteCalls(const Calls& calls);

// About so many of them, the same ones each time: of every function the first call in both ways, and of the rest
// what lies a fixed stride apart.
std::vector<Fault> sampleOf(const std::vector<Fault>& faults, std::size_t about);

} // namespace sweep
