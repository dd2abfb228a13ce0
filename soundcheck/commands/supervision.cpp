#include "commands/supervision.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <utility>

namespace soundcheck {
namespace {

constexpr auto kLookEvery = std::chrono::milliseconds(50);

} // namespace

std::string_view endingName(Ending ending) {
    switch (ending) {
    case Ending::complete:
        return "complete";
    case Ending::interrupted:
        return "interrupted";
    case Ending::gaveUp:
        break;
    }
    return "gave-up";
}

void Supervision::watch(const BlockClock& clock, std::string deviceName) {
    m_watched.push_back({&clock, std::move(deviceName), StallWatch(StallWatch::Clock::now())});
}

Ending Supervision::run(const std::function<bool()>& done, const std::function<std::string()>& progress) {
    while (!done()) {
        if (m_context.interrupt.waitFor(kLookEvery))
            return Ending::interrupted;
        const auto now = StallWatch::Clock::now();
        for (Watched& watched : m_watched)
            if (watched.stall.update(watched.clock->blocks(), now))
                tellFinding(m_context, watched.name + (watched.clock->blocks() == 0
                                                           ? " does not begin: no block yet."
                                                           : " stands still: no block for more than a second."));
        if (std::any_of(m_watched.begin(), m_watched.end(),
                        [now](const Watched& watched) { return watched.stall.givenUp(now); }))
            return Ending::gaveUp;
        if (m_context.console.isTerminal())
            m_context.console.progress(progress());
    }
    return Ending::complete;
}

bool Supervision::allBegan() const {
    return std::all_of(m_watched.begin(), m_watched.end(),
                       [](const Watched& watched) { return watched.clock->blocks() != 0; });
}

int Supervision::stalls() const {
    return std::accumulate(m_watched.begin(), m_watched.end(), 0,
                           [](int sum, const Watched& watched) { return sum + watched.stall.stalls(); });
}

} // namespace soundcheck
