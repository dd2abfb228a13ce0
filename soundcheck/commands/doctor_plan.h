/**
 * @file
 * What the doctor looks at: which commands, on which devices. Pure functions.
 */
#pragma once

#include "client/backend.h"

#include <span>
#include <string>
#include <vector>

namespace soundcheck {

struct DoctorCheck {
    std::string title;                  ///< "Play on Speaker"
    std::vector<std::string> arguments; ///< of the command; empty: there is nothing to be looked at
    std::string reason;                 ///< why there is nothing
};

/** A playback device and the capture device that hears it. */
struct LoopPair {
    std::string playbackId;
    std::string captureId;
    std::string title; ///< "Speaker -> Monitor of Speaker"
};

/** Each playback device with its monitor. */
std::vector<LoopPair> monitorPairs(std::span<const DeviceEntry> playback, std::span<const DeviceEntry> capture);

/** Checks in the order in which they are run. */
std::vector<DoctorCheck> playbackChecks(std::span<const DeviceEntry> playback, const std::string& toneFile);
std::vector<DoctorCheck> captureChecks(std::span<const DeviceEntry> capture, const std::string& recording);
std::vector<DoctorCheck> loopChecks(std::span<const LoopPair> pairs);
std::vector<DoctorCheck> togetherChecks(bool anyDevice);

} // namespace soundcheck
