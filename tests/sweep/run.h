// One run of a session, clean or with one fault.
#pragma once

#include "enumeration.h"
#include "sessions.h"

#include <string>
#include <vector>

namespace sweep {

struct Outcome {
    simulator::Report report;
    bool complete = false;           // the session came to its end
    unsigned threads = 0;            // the most at once beside the client's first
    unsigned hits = 0;               // calls that the fault made fail
    std::vector<std::string> told;   // every line of level 1 and 2 and of the streams, see below
    std::vector<std::string> broken; // what the session requires and did not get
    Calls calls;                     // of a clean run
};

// How a line of a log stands in `told`: the category is the device's label when it is one's identifier.
std::string logged(std::int32_t level, const std::string& category, const std::string& text);
// A line of `told` without its category, and the category; a line of a stream has none.
struct ToldLine {
    std::string line;
    std::string category;
};
ToldLine partsOf(const std::string& told);

// How lines begin, without a category.
inline constexpr const char* kErrorLog = "log 1: ";
inline constexpr const char* kWarningLog = "log 2: ";
inline constexpr const char* kErrorStream = "standard error: ";
inline constexpr const char* kOutputStream = "standard output: ";

Outcome runClean(const Session& session);
Outcome runWith(const Fault& fault, const Session& session, const Outcome& clean);

} // namespace sweep
