#include "policy.h"

#include <algorithm>

namespace simulator {
namespace {

class RunUntilBlocked : public Policy {
public:
    std::size_t choose(std::uint64_t, std::size_t, bool) override { return 0; }
    [[nodiscard]] std::string describe() const override { return "run until blocked"; }
};

class RandomSchedule : public Policy {
public:
    explicit RandomSchedule(std::uint64_t seed) : m_Seed(seed), m_Engine(seed) {}

    std::size_t choose(std::uint64_t, std::size_t candidates, bool runningCanGoOn) override {
        // Long undisturbed stretches are as interesting as rapid changes, so staying is the likelier answer.
        // Plain remainders: distributions differ between libraries, and a seed must mean the same everywhere.
        constexpr std::uint64_t kStayOf4 = 3;
        if (runningCanGoOn && m_Engine() % 4 < kStayOf4)
            return 0;
        return static_cast<std::size_t>(m_Engine() % candidates);
    }
    [[nodiscard]] std::string describe() const override { return "random, seed " + std::to_string(m_Seed); }

private:
    std::uint64_t m_Seed;
    std::mt19937_64 m_Engine;
};

class ForcedSwitches : public Policy {
public:
    explicit ForcedSwitches(std::map<std::uint64_t, std::size_t> switches) : m_Switches(std::move(switches)) {}

    std::size_t choose(std::uint64_t choice, std::size_t candidates, bool) override {
        const auto forced = m_Switches.find(choice);
        if (forced == m_Switches.end())
            return 0;
        m_Met[choice] = candidates;
        return std::min(forced->second, candidates - 1);
    }
    [[nodiscard]] std::string describe() const override {
        std::string text = "forced switches";
        for (const auto& [choice, candidate] : m_Switches)
            text.append(" ").append(std::to_string(choice)).append(":").append(std::to_string(candidate));
        return text;
    }
    [[nodiscard]] std::vector<std::string> unmet() const override {
        std::vector<std::string> texts;
        for (const auto& [choice, candidate] : m_Switches) {
            const auto met = m_Met.find(choice);
            if (met != m_Met.end() && candidate < met->second)
                continue;
            std::string text = "the forced switch " + std::to_string(choice) + ":" + std::to_string(candidate);
            text += met == m_Met.end() ? ", which never came"
                                       : ", where only " + std::to_string(met->second) + " threads could run";
            texts.push_back(std::move(text));
        }
        return texts;
    }

private:
    std::map<std::uint64_t, std::size_t> m_Switches;
    std::map<std::uint64_t, std::size_t> m_Met; // and how many could run there
};

} // namespace

std::unique_ptr<Policy> runUntilBlocked() {
    return std::make_unique<RunUntilBlocked>();
}

std::unique_ptr<Policy> randomSchedule(std::uint64_t seed) {
    return std::make_unique<RandomSchedule>(seed);
}

std::unique_ptr<Policy> forcedSwitches(std::map<std::uint64_t, std::size_t> switches) {
    return std::make_unique<ForcedSwitches>(std::move(switches));
}

} // namespace simulator
