#include "commands/talk.h"

#include "audio/wav_reader.h"
#include "commands/device_run.h"
#include "commands/echo_association.h"
#include "commands/options.h"
#include "commands/running_device.h"
#include "commands/session.h"
#include "commands/supervision.h"
#include "platform/text.h"
#include "streams/capture_stream.h"
#include "streams/playback_stream.h"

#include <CLI/CLI.hpp>

namespace soundcheck {
namespace {

/** Half a second until the last word is heard, and one more for its echo. */
constexpr std::uint64_t kBlocksBehindSpeech = kBlocksPerSecond * 3 / 2;

void checkStreams(Checks& checks, const PlaybackStream& played, const CaptureStream& captured, Ending ending) {
    checks.expect(played.failure().empty(), played.failure(), ExitCode::fileFailed);
    checks.expect(played.underruns() == 0, "The speech was not read fast enough; there are gaps in what was played.");
    checks.expect(captured.blocksWithReference() > 0 || ending == Ending::interrupted,
                  "No echo reference came at all.");
    checks.expect(captured.oddReferences() == 0, "Some blocks of the echo reference were not 20 ms long.");
}

} // namespace

std::string TalkCommand::description() const {
    return "Play speech, capture, and check the echo reference";
}

void TalkCommand::addOptions(CLI::App& app) {
    addPath(app, "speech", "SPEECH.wav", m_speech, "The WAV file to play")->required();
    addPath(app, "--echo-to", "FILE.wav", m_echoFile, "WAV file for the echo reference")->required();
    addPath(app, "--record-to", "FILE.wav", m_microphoneFile, "WAV file for what was captured")->required();
    addDevice(app, "--device-playback", m_playback);
    addDevice(app, "--device-capture", m_capture);
    app.add_flag("--reopen", m_reopen, kReopenHelp);
    addSeconds(app, m_seconds, "Play no more than this");
}

ExitCode TalkCommand::run(const RunContext& context) {
    WavReader reader(toPath(m_speech));
    Session session(context);
    Checks checks(context);
    const DeviceEntry speaker = session.choose(ORVO_PLAYBACK, m_playback);
    const DeviceEntry microphone = session.choose(ORVO_CAPTURE, m_capture);

    RunningDevice playback(context, session, ORVO_PLAYBACK, speaker);
    RunningDevice capture(context, session, ORVO_CAPTURE, microphone);
    const DeviceFormat& out = playback.format();
    const DeviceFormat& in = capture.format();
    requirePlayable(out, speaker.name);
    const EchoFormat echo = session.associateEcho(capture.device(), speaker.id);
    checkEchoFormat(checks, echo, out);

    WavWriter microphoneFile(toPath(m_microphoneFile), wavFormatOf(in));
    CaptureStream& captured =
        session.attach(capture.device(), std::make_unique<CaptureStream>(std::move(microphoneFile), in,
                                                                         makeEchoOutput(m_echoFile, echo)));
    PlaybackStream& played = session.attach(
        playback.device(),
        std::make_unique<PlaybackStream>(
            ConvertedWav(std::move(reader), out.channels, out.sampleRate, framesIn(m_seconds, out.sampleRate)), out));

    context.console.line("playing " + m_speech + " on " + speaker.name + ", " + formatText(out));
    context.console.line("capturing " + microphone.name + ", " + formatText(in));
    playback.start();
    // An association belongs to one opening of the capture device.
    capture.start([&](Device& reopened) { session.associateEcho(reopened, playback.id()); });
    Supervision supervision(context);
    supervision.watch(played.clock(), speaker.name, playback.remedy(m_reopen));
    supervision.watch(captured.clock(), microphone.name, capture.remedy(m_reopen));
    LevelDisplay level;
    const Ending ending =
        supervision.run([&] { return played.drained(kBlocksBehindSpeech) || captured.failed(); },
                        [&] {
                            level.update(captured.meter().takePeak(), LevelDisplay::Clock::now());
                            return timeText(played.framesDelivered(), played.framesTotal(), out.sampleRate) +
                                   " captured " + level.text(kMeterWidth);
                        });
    capture.shutDown();
    playback.shutDown();
    captured.finish();

    const std::uint64_t withReference = captured.blocksWithReference();
    tellSummary(context, name(),
                Summary()
                    .addQuoted("playback", speaker.name)
                    .addQuoted("capture", microphone.name)
                    .add("echo_mask", std::uint64_t{echo.channelMask})
                    .add("echo_bits", std::uint64_t{echo.bitsPerSample})
                    .add("echo_rate", std::uint64_t{echo.sampleRate})
                    .add("played_blocks", played.clock().blocks())
                    .add("played_frames", played.framesDelivered())
                    .add("underruns", played.underruns())
                    .add("blocks", captured.clock().blocks())
                    .add("with_reference", withReference)
                    .add("without_reference", captured.clock().blocks() - withReference)
                    .add("frames", captured.framesWritten())
                    .add("dropped", captured.droppedBlocks())
                    .add("rate_percent", captured.clock().ratePercent(kBlockMilliseconds), 2)
                    .add("longest_gap_ms", captured.clock().longestGapMilliseconds(), 1)
                    .add("stalls", static_cast<std::uint64_t>(supervision.stalls()))
                    .add("reopenings", static_cast<std::uint64_t>(playback.reopenings()) +
                                           static_cast<std::uint64_t>(capture.reopenings())),
                captured.failed() ? "failed" : endingName(ending));
    checkStreams(checks, played, captured, ending);
    checkRecording(checks, captured);
    checkRun(checks, session.log(), supervision, ending);
    return checks.exitCode();
}

} // namespace soundcheck
