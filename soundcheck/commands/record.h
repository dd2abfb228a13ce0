/**
 * @file
 * `soundcheck record`. Records a device to a WAV file that is readable whenever the recording ends.
 */
#pragma once

#include "commands/command.h"

namespace soundcheck {

class RecordCommand final : public Command {
public:
    std::string name() const override { return "record"; }
    std::string description() const override;
    std::string example() const override { return "record microphone.wav --seconds 5"; }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    std::string m_file;
    std::string m_device = "default";
    bool m_reopen = false;
    double m_seconds = 0; ///< 0: until Ctrl-C
};

} // namespace soundcheck
