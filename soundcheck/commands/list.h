/**
 * @file
 * `soundcheck list`. Lists the playback and capture devices with the numbers that other commands take, and with
 * --formats what each of them really opens with.
 */
#pragma once

#include "commands/command.h"

namespace soundcheck {

class ListCommand final : public Command {
public:
    std::string name() const override { return "list"; }
    std::string description() const override;
    std::string example() const override { return "list --formats"; }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    bool m_formats = false;
};

} // namespace soundcheck
