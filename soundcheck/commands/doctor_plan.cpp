#include "commands/doctor_plan.h"

#include "commands/device_list.h"

#include <algorithm>

namespace soundcheck {
namespace {

constexpr const char* kRecordSeconds = "2";
constexpr const char* kLoopSeconds = "2";
constexpr const char* kEchoSeconds = "5";
constexpr const char* kSoakSeconds = "5";
constexpr const char* kChurnSeconds = "5";

/** What PulseAudio calls the capture device that hears a playback device. */
constexpr const char* kMonitorPrefix = "Monitor of ";

} // namespace

std::vector<LoopPair> monitorPairs(std::span<const DeviceEntry> playback, std::span<const DeviceEntry> capture) {
    std::vector<LoopPair> pairs;
    for (const DeviceEntry& speaker : playback) {
        const auto monitor = std::find_if(capture.begin(), capture.end(), [&](const DeviceEntry& entry) {
            return entry.name == kMonitorPrefix + speaker.name;
        });
        if (monitor != capture.end())
            pairs.push_back(
                {speaker.id, monitor->id, printableName(speaker.name) + " -> " + printableName(monitor->name)});
    }
    return pairs;
}

std::vector<DoctorCheck> playbackChecks(std::span<const DeviceEntry> playback, const std::string& toneFile) {
    std::vector<DoctorCheck> checks;
    for (const DeviceEntry& device : playback)
        checks.push_back({"Play on " + printableName(device.name), {"play", toneFile, "--device", device.id}, {}});
    if (checks.empty())
        checks.push_back({"Play", {}, "There is no playback device."});
    return checks;
}

std::vector<DoctorCheck> captureChecks(std::span<const DeviceEntry> capture, const std::string& recording) {
    std::vector<DoctorCheck> checks;
    for (const DeviceEntry& device : capture)
        checks.push_back({"Record from " + printableName(device.name),
                          {"record", recording, "--device", device.id, "--seconds", kRecordSeconds},
                          {}});
    if (checks.empty())
        checks.push_back({"Record", {}, "There is no capture device."});
    return checks;
}

std::vector<DoctorCheck> loopChecks(std::span<const LoopPair> pairs) {
    std::vector<DoctorCheck> checks;
    for (const LoopPair& pair : pairs) {
        const std::vector<std::string> devices = {"--device-playback", pair.playbackId, "--device-capture",
                                                  pair.captureId};
        checks.push_back({"Loop " + pair.title, {"loop", "--seconds", kLoopSeconds}, {}});
        checks.push_back({"Echo " + pair.title, {"echo", "--seconds", kEchoSeconds}, {}});
        for (auto check = checks.end() - 2; check != checks.end(); ++check)
            check->arguments.insert(check->arguments.end(), devices.begin(), devices.end());
    }
    if (checks.empty())
        checks.push_back({"Loop and echo",
                          {},
                          "No capture device is the monitor of a playback device. Connect one to the other with a "
                          "cable, and name both with --device-playback and --device-capture."});
    return checks;
}

std::vector<DoctorCheck> togetherChecks(bool anyDevice) {
    if (!anyDevice)
        return {{"All devices at once", {}, "There is no device."}};
    return {{"All devices at once", {"soak", "--seconds", kSoakSeconds}, {}},
            {"Open and close in any order", {"churn", "--seconds", kChurnSeconds}, {}}};
}

} // namespace soundcheck
