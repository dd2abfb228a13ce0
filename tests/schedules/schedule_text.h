// The text that names a schedule: what a failure prints, and what replays it.
#pragma once

#include "enumeration.h"
#include "schedule/policy.h"

#include <memory>
#include <string>
#include <string_view>

namespace schedules {

// "3:1 17:2", or "none" for the undisturbed order.
std::string textOf(const Switches& switches);
// As above, or "seed 12". Null when it is no such text.
std::unique_ptr<simulator::Policy> policyFrom(std::string_view text);

} // namespace schedules
