#include "enumeration.h"

#include <algorithm>
#include <utility>

namespace schedules {
namespace {

// How many other ways there are at the choices from `begin` on.
std::uint64_t alternatives(const Candidates& met, std::uint64_t begin) {
    std::uint64_t count = 0;
    for (std::uint64_t choice = begin; choice < met.size(); ++choice)
        count += met[choice] - 1u;
    return count;
}

} // namespace

void Enumeration::run(const Pairs& wanted) {
    const std::optional<Candidates> undisturbed = play({});
    if (!undisturbed || !playSingles(*undisturbed))
        return;
    for (const Single& first : m_Singles)
        m_Pairs += alternatives(first.met, first.choice + 1);
    std::uint64_t passed = 0;
    for (const Single& first : m_Singles) {
        if (!playPairs(first, wanted, passed))
            return;
    }
}

std::optional<Candidates> Enumeration::play(const Switches& switches) {
    ++m_Tried;
    return m_Play(switches);
}

bool Enumeration::playSingles(const Candidates& undisturbed) {
    for (std::uint64_t choice = 0; choice < undisturbed.size(); ++choice) {
        for (std::size_t candidate = 1; candidate < undisturbed[choice]; ++candidate) {
            std::optional<Candidates> met = play({{choice, candidate}});
            if (!met)
                return false;
            m_Singles.push_back({choice, candidate, std::move(*met)});
        }
    }
    return true;
}

bool Enumeration::playPairs(const Single& first, const Pairs& wanted, std::uint64_t& passed) {
    const std::uint64_t limit = std::min(wanted.limit, m_Pairs);
    for (std::uint64_t choice = first.choice + 1; choice < first.met.size(); ++choice) {
        for (std::size_t candidate = 1; candidate < first.met[choice]; ++candidate) {
            const std::uint64_t pair = passed++;
            const bool chosen = (pair + 1) * limit / m_Pairs > pair * limit / m_Pairs; // evenly, always the same
            if (!chosen || pair % wanted.of != wanted.number - 1)
                continue;
            ++m_PairsTried;
            if (!play({{first.choice, first.candidate}, {choice, candidate}}))
                return false;
        }
    }
    return true;
}

} // namespace schedules
