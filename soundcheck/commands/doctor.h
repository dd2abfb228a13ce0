/**
 * @file
 * `soundcheck doctor`. Runs the quick checks of the other commands on every device, each on its own, and puts all into
 * one report that a user pastes into a ticket.
 */
#pragma once

#include "commands/command.h"
#include "commands/doctor_examination.h"
#include "commands/doctor_plan.h"

#include <filesystem>
#include <string>
#include <vector>

namespace soundcheck {

class DoctorCommand final : public Command {
public:
    std::string name() const override { return "doctor"; }
    std::string description() const override;
    std::string example() const override { return "doctor --report ticket.html"; }
    void addOptions(CLI::App& app) override;
    ExitCode run(const RunContext& context) override;

private:
    std::vector<LoopPair> pairsOf(const std::vector<DeviceEntry>& playback,
                                  const std::vector<DeviceEntry>& capture) const;
    /** @param list what the command `list` found; @param folder for what is played and recorded */
    void examineDevices(DoctorExamination& examination, const Json& list, const std::filesystem::path& folder) const;

    std::string m_playback; ///< of a loop over a cable; both empty: every device with its monitor
    std::string m_capture;
};

} // namespace soundcheck
