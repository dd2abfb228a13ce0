#include "lag.h"

#include "correlation.h"

#include <algorithm>
#include <cmath>

namespace judge {
namespace {

constexpr double kWindowMilliseconds = 500;
constexpr double kHopMilliseconds = 250;
constexpr double kSearchMilliseconds = 1000; // to either side of the two files' common beginning
constexpr double kQuietOfWhole = 0.1;        // a window below this part of the whole's level says nothing
constexpr double kUnsureAllowed = 0.1;       // part of the windows

} // namespace

bool LagReport::constant() const {
    return windows > 0 && static_cast<double>(unsure) <= kUnsureAllowed * static_cast<double>(windows) &&
           likeness >= kSureOfLag && spreadMilliseconds <= kConstantLagMilliseconds;
}

LagReport measureLag(const Sound& reference, const Sound& microphone) {
    if (reference.rate != microphone.rate)
        throw BadFile("the reference and the microphone have different rates");
    const Samples& said = reference.samples;
    const Samples& heard = microphone.samples;
    const std::size_t window = reference.frames(kWindowMilliseconds);
    const Lag reach = static_cast<Lag>(reference.frames(kSearchMilliseconds));
    const double quiet = kQuietOfWhole * levelOf(said, 0, said.size());

    LagReport report;
    const Match whole = bestMatch(said, 0, said.size(), heard, -reach, reach);
    const auto recorded = [&](std::size_t first) { // neither before the microphone's beginning nor behind its end
        const Lag there = static_cast<Lag>(first) + whole.lag;
        return there >= 0 && there + static_cast<Lag>(window) <= std::ssize(heard);
    };
    std::vector<double> lags;
    std::vector<double> allLags;
    for (std::size_t first = 0; first + window <= said.size(); first += reference.frames(kHopMilliseconds)) {
        if (levelOf(said, first, window) <= quiet || !recorded(first))
            continue;
        const bool settled = first >= reference.frames(kSettlingMilliseconds);
        report.windows += settled ? 1 : 0;
        const Match match = bestMatch(said, first, window, heard, -reach, reach);
        if (match.likeness < kSureOfLag) {
            report.unsure += settled ? 1 : 0;
            continue;
        }
        const double lag = reference.milliseconds(static_cast<double>(match.lag) + match.fraction);
        allLags.push_back(lag);
        if (settled)
            lags.push_back(lag);
    }
    if (lags.empty())
        return report;
    report.milliseconds = reference.milliseconds(static_cast<double>(whole.lag) + whole.fraction);
    report.likeness = whole.likeness;
    const auto spread = [](const std::vector<double>& values) {
        const auto [smallest, largest] = std::ranges::minmax(values);
        return largest - smallest;
    };
    report.spreadMilliseconds = spread(lags);
    report.settlingMilliseconds = spread(allLags);
    return report;
}

} // namespace judge
