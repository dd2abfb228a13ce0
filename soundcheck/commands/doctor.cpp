#include "commands/doctor.h"

#include "audio/wav_writer.h"
#include "client/device_selection.h"
#include "commands/device_run.h"
#include "commands/options.h"
#include "platform/temporary_folder.h"
#include "platform/text.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace soundcheck {
namespace {

constexpr std::uint32_t kToneRate = 48000;

/** One second, soft enough for a headset that is being worn. */
void writeTone(const std::filesystem::path& file) {
    constexpr double kFrequency = 440;
    constexpr double kAmplitude = 0.05;
    std::vector<std::int16_t> samples(kToneRate);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / kToneRate;
        const double swell = std::sin(std::numbers::pi * time); // begins and ends without a click
        samples[i] = static_cast<std::int16_t>(
            std::lround(kAmplitude * swell * std::sin(2 * std::numbers::pi * kFrequency * time) * 32767));
    }
    WavWriter writer(file, {1, 16, kToneRate, 0});
    writer.write(std::as_bytes(std::span(samples)));
    writer.finish();
}

/** The devices of one direction out of what `list` found. */
std::vector<DeviceEntry> devicesOf(const Json& list, const char* direction) {
    std::vector<DeviceEntry> devices;
    if (list.is_object() && list.contains(direction))
        for (const Json& device : list[direction])
            devices.push_back({device["number"].get<int>(), device["id"].get<std::string>(),
                               device["name"].get<std::string>(), device["default"].get<bool>()});
    return devices;
}

} // namespace

std::string DoctorCommand::description() const {
    return "Check everything on every device, for one report";
}

void DoctorCommand::addOptions(CLI::App& app) {
    addDevice(app, "--device-playback", m_playback,
              "Check loop and echo from this device (default: each device with its monitor)");
    addDevice(app, "--device-capture", m_capture, "The device that hears it, over a cable")
        ->needs("--device-playback");
    app.get_option("--device-playback")->needs("--device-capture");
}

std::vector<LoopPair> DoctorCommand::pairsOf(const std::vector<DeviceEntry>& playback,
                                             const std::vector<DeviceEntry>& capture) const {
    if (m_playback.empty())
        return monitorPairs(playback, capture);
    const DeviceEntry& speaker = selectDevice(playback, m_playback);
    const DeviceEntry& microphone = selectDevice(capture, m_capture);
    return {{speaker.id, microphone.id, speaker.name + " -> " + microphone.name}};
}

void DoctorCommand::examineDevices(DoctorExamination& examination, const Json& list,
                                   const std::filesystem::path& folder) const {
    const std::vector<DeviceEntry> playback = devicesOf(list, "playback");
    const std::vector<DeviceEntry> capture = devicesOf(list, "capture");
    const std::vector<LoopPair> pairs = pairsOf(playback, capture);
    const std::filesystem::path tone = folder / "tone.wav";
    writeTone(tone);
    examination.perform(playbackChecks(playback, pathText(tone)));
    examination.perform(captureChecks(capture, pathText(folder / "recording.wav")));
    examination.perform(loopChecks(pairs));
    examination.perform(togetherChecks(!playback.empty() || !capture.empty()));
}

ExitCode DoctorCommand::run(const RunContext& context) {
    const TemporaryFolder folder;
    DoctorExamination examination(context);
    examination.perform({{"The plug-in", {"info"}, {}}});
    if (examination.count(Verdict::failed) == 0) {
        const Json list = examination.perform({{"The list of devices", {"list", "--formats"}, {}}});
        if (list.is_object() && !examination.interrupted()) // else nobody knows what devices there are
            examineDevices(examination, list, folder.path());
    }
    tellSummary(context, name(),
                Summary()
                    .add("passed", std::uint64_t{examination.count(Verdict::passed)})
                    .add("failed", std::uint64_t{examination.count(Verdict::failed)})
                    .add("nothing_checked", std::uint64_t{examination.count(Verdict::nothingChecked)}),
                examination.interrupted() ? "interrupted" : "complete", examination.json());
    return examination.exitCode();
}

} // namespace soundcheck
