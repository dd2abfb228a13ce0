/**
 * @file
 * `soundcheck talk`. Plays speech, captures and asks for the echo reference at the same time; writes both as aligned files.
 */
#pragma once

#include "commands/command.h"

namespace soundcheck {

class TalkCommand final : public Command {
public:
    std::string name() const override { return "talk"; }
    std::string description() const override;
    std::string example() const override { return "talk speech.wav --echo-to echo.wav --record-to microphone.wav"; }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    std::string m_speech;
    std::string m_echoFile;
    std::string m_microphoneFile;
    std::string m_playback = "default";
    std::string m_capture = "default";
    bool m_reopen = false;
    double m_seconds = 0; ///< of the speech; 0: all of it
};

} // namespace soundcheck
