/**
 * @file
 * `soundcheck info`. Tells what the plug-in and the system say about themselves.
 */
#pragma once

#include "commands/command.h"

namespace soundcheck {

class InfoCommand final : public Command {
public:
    std::string name() const override { return "info"; }
    std::string description() const override;
    std::string example() const override { return "info"; }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;
};

} // namespace soundcheck
