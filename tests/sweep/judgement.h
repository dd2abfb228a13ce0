// Whether a session took a fault as it must.
#pragma once

#include "run.h"

#include <string>
#include <vector>

namespace sweep {

// What is wrong with the clean run of a session; nothing may be.
std::vector<std::string> judgeClean(const Outcome& clean);
// What is wrong with a run with a fault.
std::vector<std::string> judge(const Fault& fault, const Outcome& clean, const Outcome& run);

} // namespace sweep
