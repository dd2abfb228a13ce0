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

std::string stallSentence(const std::string& device, bool begun) {
    return device + (begun ? " stands still: no block for more than a second." : " does not begin: no block yet.");
}

void Supervision::watch(const BlockClock& clock, std::string deviceName, Remedy remedy) {
    m_watched.push_back({&clock, std::move(deviceName), StallWatch(StallWatch::Clock::now()), std::move(remedy)});
}

Ending Supervision::run(const std::function<bool()>& done, const std::function<std::string()>& progress) {
    while (!done()) {
        if (m_context.interrupt.waitFor(kLookEvery))
            return Ending::interrupted;
        for (Watched& watched : m_watched)
            if (!look(watched))
                return m_context.interrupt.requested() ? Ending::interrupted : Ending::gaveUp;
        if (m_context.console.isTerminal())
            m_context.console.progress(progress());
    }
    return Ending::complete;
}

bool Supervision::look(Watched& watched) {
    const std::uint64_t blocks = watched.clock->blocks();
    if (watched.stall.update(blocks, StallWatch::Clock::now())) {
        const std::string_view remedy = watched.remedy ? " It is closed and opened again." : kStallAdvice;
        tellFinding(m_context, stallSentence(watched.name, blocks != 0).append(remedy));
        if (watched.remedy) {
            if (!watched.remedy())
                return false;
            watched.stall.restart(StallWatch::Clock::now());
        }
    }
    return !watched.stall.givenUp(StallWatch::Clock::now());
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
