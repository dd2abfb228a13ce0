#include "commands/loop.h"

#include "audio/wav_writer.h"
#include "commands/device_run.h"
#include "commands/options.h"
#include "commands/session.h"
#include "commands/supervision.h"
#include "loopback/analysis.h"
#include "loopback/loop_pictures.h"
#include "loopback/loop_report.h"
#include "loopback/loop_streams.h"
#include "loopback/self_test.h"
#include "platform/text.h"

#include <CLI/CLI.hpp>
#include <utility>

namespace soundcheck {
namespace {

/** Captured before the probe begins: a device that has just begun is no measure. */
constexpr std::uint64_t kBlocksToSettle = kBlocksPerSecond / 2;
/** Captured behind the probe: the longest round trip that is waited for. */
constexpr std::uint64_t kBlocksBehindProbe = kBlocksPerSecond * 3 / 2;
/** Recorded beyond all that: devices begin late and pause. Behind them the recording is cut. */
constexpr double kSpareSeconds = 20;

double percentOf(double rate, std::uint32_t nominal) {
    return 100 * rate / nominal;
}

/** @return whether there was anything, and it was kept; a disk that is full is a finding, not the end */
bool keepRecording(Checks& checks, const std::string& file, const DeviceFormat& format,
                   const LoopRecorder& recorder) {
    if (recorder.frames() == 0)
        return false;
    try {
        WavWriter writer(toPath(file), wavFormatOf(format));
        writer.write(recorder.bytes());
        writer.finish();
        return true;
    } catch (const AudioFileError& error) {
        checks.fail(error.what());
        return false;
    }
}

void addResult(Summary& summary, const LoopResult& result, const DeviceFormat& out, const DeviceFormat& in) {
    summary.add("playback_rate", std::uint64_t{out.sampleRate})
        .add("capture_rate", std::uint64_t{in.sampleRate})
        .add("bits", std::uint64_t{in.bitsPerSample})
        .add("played_percent", percentOf(result.playedRate, out.sampleRate), 3)
        .add("captured_percent", percentOf(result.capturedRate, in.sampleRate), 3)
        .add("marks", std::uint64_t{result.marks});
    if (!result.latency.empty())
        summary.add("latency_ms", result.latencySpread.median, 2)
            .add("latency_min_ms", result.latencySpread.min, 2)
            .add("latency_max_ms", result.latencySpread.max, 2);
    if (result.toneHeard)
        summary.add("dropped_frames", result.framesOf(DisturbanceKind::dropped))
            .add("added_frames", result.framesOf(DisturbanceKind::added))
            .add("pops", std::uint64_t{result.count(DisturbanceKind::pop)})
            .add("swapped", std::uint64_t{result.swapped()})
            .add("drift_ppm", result.driftPpm, 1);
}

} // namespace

std::string LoopCommand::description() const {
    return "Measure a loopback: latency, lost frames, pops, channels";
}

void LoopCommand::addOptions(CLI::App& app) {
    addDevice(app, "--device-playback", m_playback);
    addDevice(app, "--device-capture", m_capture,
              "The device that hears it, over a cable or as a monitor; named like the other one");
    addSeconds(app, m_seconds, "How long the sines last (default: 5); the marks take 4 more", 0.5, 120);
    addPath(app, "--keep", "FILE.wav", m_keep, "Keep the recording as this WAV file when something is wrong");
    app.add_flag("--selftest", m_selfTest, "Try the analysis on synthetic errors; needs no device");
}

ExitCode LoopCommand::run(const RunContext& context) {
    return m_selfTest ? runSelfTest(context) : runLoop(context);
}

ExitCode LoopCommand::runSelfTest(const RunContext& context) const {
    Checks checks(context);
    std::uint64_t tried = 0;
    std::uint64_t failed = 0;
    Ending ending = Ending::complete;
    for (const SelfTestCase& test : selfTestCases()) {
        if (context.interrupt.requested()) {
            ending = Ending::interrupted;
            break;
        }
        ++tried;
        const std::string wrong = selfTestFailure(test);
        context.console.line((wrong.empty() ? "right  " : "WRONG  ") + test.name);
        checks.expect(wrong.empty(), test.name + ": " + wrong + ".");
        failed += wrong.empty() ? 0U : 1U;
    }
    if (tried == 0)
        throw InterruptedTooEarly();
    tellSummary(context, name(), Summary().add("cases", tried).add("wrong", failed), endingName(ending));
    return checks.exitCode();
}

ExitCode LoopCommand::runLoop(const RunContext& context) const {
    Session session(context);
    const DeviceEntry speaker = session.choose(ORVO_PLAYBACK, m_playback);
    const DeviceEntry microphone = session.choose(ORVO_CAPTURE, m_capture);
    const std::unique_ptr<Device> playback = session.open(ORVO_PLAYBACK, speaker);
    const std::unique_ptr<Device> capture = session.open(ORVO_CAPTURE, microphone);
    const DeviceFormat& out = playback->format();
    const DeviceFormat& in = capture->format();
    requirePlayable(out, speaker.name);

    const ProbeSignal probe(out.channels, out.sampleRate, m_seconds);
    ProbePlayer& player = session.attach(*playback, std::make_unique<ProbePlayer>(probe));
    LoopRecorder& recorder = session.attach(
        *capture,
        std::make_unique<LoopRecorder>(in, static_cast<double>(probe.frames()) / probe.sampleRate() + kSpareSeconds));

    context.console.line("playing on " + speaker.name + ", " + formatText(out));
    context.console.line("capturing " + microphone.name + ", " + formatText(in));
    const auto progress = [&] { return timeText(player.framesDelivered(), player.framesTotal(), out.sampleRate); };
    Supervision supervision(context);
    if (context.interrupt.requested())
        throw InterruptedTooEarly();
    session.start(*capture);
    supervision.watch(recorder.clock(), microphone.name);
    Ending ending = supervision.run([&] { return recorder.clock().blocks() >= kBlocksToSettle; }, progress);
    if (ending == Ending::complete) {
        session.start(*playback);
        supervision.watch(player.clock(), speaker.name);
        ending = supervision.run([&] { return player.drained(kBlocksBehindProbe) || recorder.full(); }, progress);
    }
    session.shutDown(*capture);
    session.shutDown(*playback);

    const LoopRecording recording = recorder.recording(player);
    const LoopResult result = analyse(recording, probe);
    for (const std::string& line : loopLines(result, in.sampleRate))
        context.console.line(line);
    Checks checks(context);
    if (ending == Ending::complete || result.toneHeard)
        for (const std::string& finding : loopFindings(result, out.channels, in.sampleRate))
            checks.fail(finding);
    checkDevices(checks, session.log(), supervision, ending);
    Json details = loopDetails(result, in.sampleRate);
    details["kept"] = checks.failed() && !m_keep.empty() && keepRecording(checks, m_keep, in, recorder);
    Summary summary;
    summary.addQuoted("playback", speaker.name)
        .addQuoted("capture", microphone.name)
        .add("played_blocks", player.clock().blocks())
        .add("blocks", recorder.clock().blocks())
        .add("longest_gap_ms", recorder.clock().longestGapMilliseconds(), 1)
        .add("stalls", static_cast<std::uint64_t>(supervision.stalls()));
    addResult(summary, result, out, in);
    tellSummary(context, name(), summary, endingName(ending), details);
    for (PagePicture& picture : loopPictures(result, in.sampleRate))
        context.document.addPicture(std::move(picture.caption), std::move(picture.svg));
    if (ending == Ending::interrupted && !result.toneHeard && !checks.failed())
        throw InterruptedTooEarly();
    return checks.exitCode();
}

} // namespace soundcheck
