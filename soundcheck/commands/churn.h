/**
 * @file
 * `soundcheck churn`. Opens, starts, stops and closes devices in a random order that the plug-in must bear.
 */
#pragma once

#include "commands/command.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace soundcheck {

class ChurnCommand final : public Command {
public:
    std::string name() const override { return "churn"; }
    std::string description() const override;
    std::string example() const override { return "churn --seconds 60 --seed 7"; }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    std::vector<std::string> m_devices; ///< empty: all
    std::optional<std::uint64_t> m_seed;
    std::uint64_t m_rounds = 0; ///< 0: as long as m_seconds says, or kUsualRounds
    double m_seconds = 0;       ///< 0: as many rounds as m_rounds says
};

} // namespace soundcheck
