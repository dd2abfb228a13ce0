#include "commands/echo.h"

#include "audio/converted_wav.h"
#include "audio/echo_lag.h"
#include "audio/sample_format.h"
#include "audio/wav_reader.h"
#include "commands/device_run.h"
#include "commands/echo_association.h"
#include "commands/options.h"
#include "commands/recording_folder.h"
#include "commands/session.h"
#include "commands/supervision.h"
#include "pictures/pictures.h"
#include "platform/text.h"
#include "streams/repeating_source.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>

namespace soundcheck {
namespace {

std::vector<MarkerMatch> markersIn(const std::filesystem::path& file) {
    WavReader reader(file);
    const std::uint32_t rate = reader.format().sampleRate;
    ConvertedWav sound(std::move(reader), 1, rate);
    MarkerFinder finder(rate);
    std::vector<std::int16_t> samples(rate);
    std::vector<float> piece(rate);
    while (const std::size_t count = sound.read(samples)) {
        std::transform(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count), piece.begin(),
                       [](std::int16_t sample) { return static_cast<float>(sample) / 32768.0F; });
        finder.add(std::span(piece).first(count));
    }
    finder.finish();
    return finder.matches();
}

/** What was recorded, and what was found in it. */
struct EchoProof {
    std::vector<MarkerMatch> reference;
    std::vector<MarkerMatch> microphone;
    EchoLag lag;
};

EchoProof analyse(const RecordingFolder& folder, std::uint64_t frames) {
    if (frames == 0)
        return {};
    EchoProof proof{markersIn(folder.reference()), markersIn(folder.microphone()), {}};
    proof.lag = measureLag(proof.reference, proof.microphone);
    return proof;
}

void addTo(Summary& summary, const EchoProof& proof) {
    summary.add("reference_markers", std::uint64_t{proof.reference.size()})
        .add("microphone_markers", std::uint64_t{proof.microphone.size()})
        .add("pairs", std::uint64_t{proof.lag.points.size()})
        .add("lag_ms", proof.lag.medianMilliseconds, 2)
        .add("lag_min_ms", proof.lag.minMilliseconds, 2)
        .add("lag_max_ms", proof.lag.maxMilliseconds, 2)
        .add("lag_spread_ms", proof.lag.spreadMilliseconds(), 2)
        .add("correlation", proof.lag.medianCorrelation, 3);
}

Json lagOverTime(const EchoLag& lag) {
    Json points = Json::array();
    for (const LagPoint& point : lag.points)
        points.push_back(
            {{"seconds", point.seconds}, {"milliseconds", point.milliseconds}, {"correlation", point.correlation}});
    return {{"lag", std::move(points)}};
}

void addPicture(Document& document, const EchoLag& lag) {
    std::vector<PlottedLag> points;
    for (const LagPoint& point : lag.points)
        points.push_back({point.seconds, point.milliseconds});
    document.addPicture("How much later than the echo reference the microphone hears each marker. It should stay the "
                        "same.",
                        lagPicture(points));
}

void printLag(Console& console, const EchoLag& lag) {
    for (const LagPoint& point : lag.points)
        console.line("marker at " + fixedDecimals(point.seconds, 2) + " s: lag " +
                     fixedDecimals(point.milliseconds, 2) + " ms, correlation " +
                     fixedDecimals(point.correlation, 3));
}

void checkProof(Checks& checks, const EchoProof& proof, double maxSpread) {
    checks.expect(!proof.reference.empty(), "No marker was found in the echo reference.");
    checks.expect(!proof.microphone.empty(),
                  "No marker was found in what was captured: the microphone does not hear the loudspeaker.");
    if (proof.lag.points.empty()) {
        checks.expect(proof.reference.empty() || proof.microphone.empty(),
                      "No marker was found in both, the echo reference and what was captured.");
        return;
    }
    checks.expect(proof.lag.minMilliseconds >= 0,
                  "The echo reference comes later than the echo; an echo canceller cannot use it.");
    checks.expect(proof.lag.spreadMilliseconds() <= maxSpread,
                  "The lag spreads over " + fixedDecimals(proof.lag.spreadMilliseconds(), 2) + " ms; " +
                      fixedDecimals(maxSpread, 2) + " are allowed.");
}

} // namespace

std::string EchoCommand::description() const {
    return "Prove that the echo reference is what the microphone hears, and how much earlier";
}

void EchoCommand::addOptions(CLI::App& app) {
    addDevice(app, "--device-playback", m_playback);
    addDevice(app, "--device-capture", m_capture);
    addSeconds(app, m_seconds, "Capture this long (default: 10)", 1, 3600);
    addPath(app, "--keep", "FOLDER", m_keep, "Keep microphone.wav and reference.wav in this folder");
    addMilliseconds(app, "--max-spread", m_maxSpread, "Milliseconds that the lag may spread over (default: any)");
}

ExitCode EchoCommand::run(const RunContext& context) {
    const RecordingFolder folder(m_keep);
    Checks checks(context);
    Summary summary;
    const auto [ending, frames] = record(context, checks, folder, summary);
    const EchoProof proof = analyse(folder, frames);
    printLag(context.console, proof.lag);
    addTo(summary, proof);
    tellSummary(context, name(), summary, endingName(ending), lagOverTime(proof.lag));
    addPicture(context.document, proof.lag);

    checkLog(checks, context.document.log());
    if (ending == Ending::interrupted && proof.lag.points.empty() && !checks.failed())
        throw InterruptedTooEarly();
    if (frames != 0) // otherwise it is told why nothing came
        checkProof(checks, proof, m_maxSpread);
    return checks.exitCode();
}

EchoCommand::Recorded EchoCommand::record(const RunContext& context, Checks& checks, const RecordingFolder& folder,
                                          Summary& summary) const {
    Session session(context);
    const DeviceEntry speaker = session.choose(ORVO_PLAYBACK, m_playback);
    const DeviceEntry microphone = session.choose(ORVO_CAPTURE, m_capture);
    std::array<std::unique_ptr<Device>, 2> devices = {session.open(ORVO_PLAYBACK, speaker),
                                                      session.open(ORVO_CAPTURE, microphone)};
    Device& playback = *devices[0];
    Device& capture = *devices[1];
    requirePlayable(playback.format(), speaker.name);
    const EchoFormat echo = session.associateEcho(capture, speaker.id);
    checkEchoFormat(checks, echo, playback.format());

    CaptureStream& captured =
        session.attach(capture, std::make_unique<CaptureStream>(
                                    WavWriter(folder.microphone(), wavFormatOf(capture.format())), capture.format(),
                                    makeEchoOutput(pathText(folder.reference()), echo), blocksIn(m_seconds)));
    const RepeatingSource& played =
        session.attach(playback, std::make_unique<RepeatingSource>(markerPeriod(playback.format().sampleRate),
                                                                   playback.format().channels));
    context.console.line("playing markers on " + speaker.name + ", capturing " + microphone.name);
    if (context.interrupt.requested())
        throw InterruptedTooEarly();
    session.start(playback);
    session.start(capture);
    Supervision supervision(context);
    supervision.watch(played.clock(), speaker.name);
    supervision.watch(captured.clock(), microphone.name);
    LevelDisplay level;
    const Ending ending = supervision.run([&] { return captured.complete() || captured.failed(); },
                                          [&] {
                                              level.update(captured.meter().takePeak(), LevelDisplay::Clock::now());
                                              return "captured " + level.text(kMeterWidth);
                                          });
    for (const std::string& failure : session.shutDown(devices))
        checks.fail(failure);
    captured.finish();

    summary.addQuoted("playback", speaker.name)
        .addQuoted("capture", microphone.name)
        .add("played_blocks", played.clock().blocks())
        .add("blocks", captured.clock().blocks())
        .add("with_reference", captured.blocksWithReference())
        .add("frames", captured.framesWritten())
        .add("dropped", captured.droppedBlocks())
        .add("stalls", static_cast<std::uint64_t>(supervision.stalls()));
    checkRecording(checks, captured);
    checks.expect(supervision.stalls() == 0, "A device stood still.");
    checks.expect(ending != Ending::gaveUp, "It did not go on; soundcheck gave up.");
    return {ending, captured.framesWritten()};
}

} // namespace soundcheck
