#include "commands/play.h"

#include "audio/wav_reader.h"
#include "commands/device_run.h"
#include "commands/options.h"
#include "commands/running_device.h"
#include "commands/session.h"
#include "commands/supervision.h"
#include "platform/text.h"
#include "streams/playback_stream.h"

#include <CLI/CLI.hpp>

namespace soundcheck {
namespace {

/** The plug-in is asked up to 220 ms ahead of what is heard, the system adds its own: 500 ms of silence follow. */
constexpr std::uint64_t kBlocksUntilHeard = kBlocksPerSecond / 2;

} // namespace

std::string PlayCommand::description() const {
    return "Play a WAV file";
}

void PlayCommand::addOptions(CLI::App& app) {
    addPath(app, "file", "FILE.wav", m_file, "The WAV file: PCM of 8, 16, 24, 32 bits or 32-bit float")->required();
    addDevice(app, "--device", m_device);
    app.add_flag("--reopen", m_reopen, kReopenHelp);
    addSeconds(app, m_seconds, "Play no more than this");
}

ExitCode PlayCommand::run(const RunContext& context) {
    WavReader reader(toPath(m_file)); // before the plug-in is loaded: a wrong name is told at once
    Session session(context);
    RunningDevice device(context, session, ORVO_PLAYBACK, session.choose(ORVO_PLAYBACK, m_device));
    const DeviceFormat& format = device.format();
    requirePlayable(format, device.name());
    PlaybackStream& stream = session.attach(
        device.device(),
        std::make_unique<PlaybackStream>(ConvertedWav(std::move(reader), format.channels, format.sampleRate,
                                                      framesIn(m_seconds, format.sampleRate)),
                                         format));

    context.console.line("playing " + m_file + " on " + device.name() + ", " + formatText(format));
    device.start();
    Supervision supervision(context);
    supervision.watch(stream.clock(), device.name(), device.remedy(m_reopen));
    LevelDisplay level;
    const Ending ending =
        supervision.run([&] { return stream.drained(kBlocksUntilHeard); },
                        [&] {
                            level.update(stream.meter().takePeak(), LevelDisplay::Clock::now());
                            return timeText(stream.framesDelivered(), stream.framesTotal(), format.sampleRate) + " " +
                                   level.text(kMeterWidth);
                        });
    device.shutDown();

    tellSummary(context, name(),
                Summary()
                    .addQuoted("device", device.name())
                    .add("rate", std::uint64_t{format.sampleRate})
                    .add("channels", std::uint64_t{format.channels})
                    .add("blocks", stream.clock().blocks())
                    .add("frames", stream.framesDelivered())
                    .add("underruns", stream.underruns())
                    .add("longest_gap_ms", stream.clock().longestGapMilliseconds(), 1)
                    .add("stalls", static_cast<std::uint64_t>(supervision.stalls()))
                    .add("reopenings", static_cast<std::uint64_t>(device.reopenings())),
                endingName(ending));
    Checks checks(context);
    checks.expect(stream.failure().empty(), stream.failure(), ExitCode::fileFailed);
    checks.expect(stream.underruns() == 0, "The file was not read fast enough; there are gaps in what was played.");
    checkRun(checks, session.log(), supervision, ending);
    return checks.exitCode();
}

} // namespace soundcheck
