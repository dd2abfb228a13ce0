/**
 * @file
 * `soundcheck loop`. Plays a probe, records what comes back over a cable or a monitor, and tells every frame that was
 * lost on the way.
 */
#pragma once

#include "commands/command.h"

namespace soundcheck {

class LoopCommand final : public Command {
public:
    std::string name() const override { return "loop"; }
    std::string description() const override;
    std::string example() const override {
        return "loop --device-playback Speaker --device-capture \"Monitor of Speaker\"";
    }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    ExitCode runSelfTest(const RunContext& context) const;
    ExitCode runLoop(const RunContext& context) const;

    std::string m_playback = "default";
    std::string m_capture = "default";
    double m_seconds = 5; ///< of the sines
    std::string m_keep;   ///< empty: nothing is kept
    bool m_selfTest = false;
};

} // namespace soundcheck
