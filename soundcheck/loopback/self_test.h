/**
 * @file
 * Tries the analysis on recordings with errors of known size and place. It must find exactly those, and nothing in a
 * clean recording. Pure; takes some seconds.
 */
#pragma once

#include "loopback/loop_result.h"
#include "loopback/synthetic_loop.h"

#include <functional>
#include <string>
#include <vector>

namespace soundcheck {

struct SelfTestCase {
    std::string name;
    SyntheticLoop loop;
    std::function<void(LoopRecording&)> spoil; ///< makes the errors
    std::vector<Disturbance> expected;         ///< `frame` is exact to a third of a millisecond
};

std::vector<SelfTestCase> selfTestCases();

/** What the analysis says wrongly about the case; empty when it is right. */
std::string selfTestFailure(const SelfTestCase& test);

} // namespace soundcheck
