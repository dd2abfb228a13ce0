// What the judge prints: for people, or as one JSON object for programs.
#pragma once

#include "comparison.h"
#include "echo_canceller.h"
#include "lag.h"
#include "near_end.h"

#include <optional>
#include <string>

namespace judge {

struct NearEndReport {
    double gainDecibels = 0;
    Survival survival;
};

struct ErleReport {
    double erle = 0;
    CancellerSettings settings;
    std::optional<NearEndReport> nearEnd;

    [[nodiscard]] bool good() const { return erle >= kGoodErle && (!nearEnd || nearEnd->survival.survived()); }
};

std::string toText(const Comparison& comparison, int rate);
std::string toText(const LagReport& lag);
std::string toText(const ErleReport& report);

std::string toJson(const Comparison& comparison, int rate);
std::string toJson(const LagReport& lag);
std::string toJson(const ErleReport& report);

} // namespace judge
