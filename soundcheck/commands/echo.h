/**
 * @file
 * `soundcheck echo`. Proves the echo reference: markers are played, and found in the reference and in the microphone.
 */
#pragma once

#include "commands/checks.h"
#include "commands/command.h"
#include "commands/recording_folder.h"
#include "commands/supervision.h"
#include "report/summary.h"

#include <cstdint>
#include <limits>
#include <string>

namespace soundcheck {

class EchoCommand final : public Command {
public:
    std::string name() const override { return "echo"; }
    std::string description() const override;
    std::string example() const override {
        return "echo --device-playback Speaker --device-capture \"Monitor of Speaker\"";
    }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    struct Recorded {
        Ending ending;
        std::uint64_t frames;
    };

    /** Plays the markers and records; what was opened is closed when it returns. */
    Recorded record(const RunContext& context, Checks& checks, const RecordingFolder& folder, Summary& summary) const;

    std::string m_playback = "default";
    std::string m_capture = "default";
    std::string m_keep; ///< folder for the recordings; empty: they go
    double m_seconds = 10;
    double m_maxSpread = std::numeric_limits<double>::infinity(); ///< milliseconds
};

} // namespace soundcheck
