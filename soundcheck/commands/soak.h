/**
 * @file
 * `soundcheck soak`. Runs many devices at once for a long time and watches how regularly they call.
 */
#pragma once

#include "commands/command.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace soundcheck {

class SoakCommand final : public Command {
public:
    std::string name() const override { return "soak"; }
    std::string description() const override;
    std::string example() const override { return "soak --seconds 60 --max-late 5"; }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    std::vector<std::string> m_devices; ///< empty: all
    double m_seconds = 60;
    std::uint64_t m_maxLate = std::numeric_limits<std::uint64_t>::max(); ///< late callbacks that a device may have
};

} // namespace soundcheck
