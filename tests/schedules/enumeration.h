// Tries the schedules of a scenario: the undisturbed one, all with one forced switch, and of those with two as many
// as wanted.
//
// A forced switch is "at the n-th choice the k-th of the threads that could run there". What comes after one differs
// from the undisturbed run, so the second switch is chosen from what the run with the first one alone came across.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <vector>

namespace schedules {

using Switches = std::map<std::uint64_t, std::size_t>; // candidate by choice
using Candidates = std::vector<std::uint8_t>;          // how many threads could run, by choice

class Enumeration {
public:
    // Which pairs of switches are tried: the `number`-th of `of` equal shares of all, or a few of all evenly.
    struct Pairs {
        std::uint64_t number = 1;
        std::uint64_t of = 1;
        std::uint64_t limit = std::numeric_limits<std::uint32_t>::max();
    };

    // Plays one schedule and answers what it came across; nothing, when no more shall be tried.
    using Play = std::function<std::optional<Candidates>(const Switches&)>;

    explicit Enumeration(Play play) : m_Play(std::move(play)) {}

    void run(const Pairs& wanted);

    [[nodiscard]] std::uint64_t tried() const { return m_Tried; } // all of them
    [[nodiscard]] std::uint64_t pairsTried() const { return m_PairsTried; }
    [[nodiscard]] std::uint64_t pairs() const { return m_Pairs; } // that there are

private:
    struct Single {
        std::uint64_t choice;
        std::size_t candidate;
        Candidates met;
    };

    std::optional<Candidates> play(const Switches& switches);
    [[nodiscard]] bool playSingles(const Candidates& undisturbed);
    [[nodiscard]] bool playPairs(const Single& first, const Pairs& wanted, std::uint64_t& passed);

    Play m_Play;
    std::vector<Single> m_Singles;
    std::uint64_t m_Tried = 0;
    std::uint64_t m_PairsTried = 0;
    std::uint64_t m_Pairs = 0;
};

} // namespace schedules
