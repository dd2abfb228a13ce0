/**
 * @file
 * `soundcheck play`. Plays a WAV file on a device.
 */
#pragma once

#include "commands/command.h"

namespace soundcheck {

class PlayCommand final : public Command {
public:
    std::string name() const override { return "play"; }
    std::string description() const override;
    std::string example() const override { return "play speech.wav --device Headphones"; }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    std::string m_file;
    std::string m_device = "default";
    bool m_reopen = false;
    double m_seconds = 0; ///< 0: the whole file
};

} // namespace soundcheck
