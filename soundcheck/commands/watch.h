/**
 * @file
 * `soundcheck watch`. Lists the devices, then tells each change as it comes.
 */
#pragma once

#include "commands/command.h"

#include <cstddef>

namespace soundcheck {

class WatchCommand final : public Command {
public:
    std::string name() const override { return "watch"; }
    std::string description() const override;
    std::string example() const override { return "watch --seconds 60"; }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    double m_seconds = 0;    ///< 0: until Ctrl-C
    std::size_t m_count = 0; ///< 0: any number
};

} // namespace soundcheck
