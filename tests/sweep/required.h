// What a failing call must bring about: the line that tells of it, or silence for a reason; what it leaves behind;
// whether the client may then wait for ever.
#pragma once

#include "enumeration.h"
#include "simulation.h"

#include <optional>
#include <string>
#include <vector>

namespace sweep {

struct Telling {
    std::optional<std::string> line{};     // as in Outcome::told, without its category
    std::vector<std::string> categories{}; // of which it has one; empty where any will do
    const char* silentBecause = nullptr;   // when there is no line
    bool changesOtherWords = false;        // lines that tell of something else come in other words or not at all
};

// Whether no other call of this name by the same thread came before. `hit` is one of `calls`.
bool firstOfItsThread(const simulator::CallRecord& hit, const Calls& calls);

// What the first call that the fault hits must be told by. `calls` is the clean run.
Telling requiredTelling(const Fault& fault, const Calls& calls);
// Every line by which a failure of this function, with this answer, may be told in some place.
std::vector<std::string> possibleLines(const Fault& fault);

struct Remainder {
    simulator::Kind kind;
    const char* reason;
};
// What each failing call leaves behind.
std::optional<Remainder> requiredRemainder(const Fault& fault);

// Why a client waits for ever after this failure; null when it must not. `calls` is the clean run.
const char* whyEndsStuck(const Fault& fault, const Calls& calls);

// A finding of the simulator that this failure must bring about; null for none.
const char* requiredFinding(const Fault& fault);

} // namespace sweep
