#include "commands/record.h"

#include "audio/wav_writer.h"
#include "commands/device_run.h"
#include "commands/options.h"
#include "commands/running_device.h"
#include "commands/session.h"
#include "commands/supervision.h"
#include "platform/text.h"
#include "streams/capture_stream.h"

#include <CLI/CLI.hpp>

namespace soundcheck {

std::string RecordCommand::description() const {
    return "Record a device to a WAV file";
}

void RecordCommand::addOptions(CLI::App& app) {
    addPath(app, "file", "FILE.wav", m_file, "The WAV file; it is replaced when it exists")->required();
    addDevice(app, "--device", m_device);
    app.add_flag("--reopen", m_reopen, kReopenHelp);
    addSeconds(app, m_seconds, "Record this long; without it until Ctrl-C");
}

ExitCode RecordCommand::run(const RunContext& context) {
    Session session(context);
    RunningDevice device(context, session, ORVO_CAPTURE, session.choose(ORVO_CAPTURE, m_device));
    const DeviceFormat& format = device.format();
    CaptureStream& stream = session.attach(
        device.device(), std::make_unique<CaptureStream>(WavWriter(toPath(m_file), wavFormatOf(format)), format,
                                                         std::nullopt, blocksIn(m_seconds)));

    context.console.line("recording " + device.name() + " to " + m_file + ", " + formatText(format));
    device.start();
    Supervision supervision(context);
    supervision.watch(stream.clock(), device.name(), device.remedy(m_reopen));
    LevelDisplay level;
    const Ending ending = supervision.run(
        [&] { return stream.complete() || stream.failed(); },
        [&] {
            level.update(stream.meter().takePeak(), LevelDisplay::Clock::now());
            return timeText(stream.framesWritten(), framesIn(m_seconds, format.sampleRate), format.sampleRate) + " " +
                   level.text(kMeterWidth);
        });
    device.shutDown();
    stream.finish();

    tellSummary(context, name(),
                Summary()
                    .addQuoted("device", device.name())
                    .add("rate", std::uint64_t{format.sampleRate})
                    .add("channels", std::uint64_t{format.channels})
                    .add("bits", std::uint64_t{format.bitsPerSample})
                    .add("blocks", stream.clock().blocks())
                    .add("frames", stream.framesWritten())
                    .add("dropped", stream.droppedBlocks())
                    .add("rate_percent", stream.clock().ratePercent(kBlockMilliseconds), 2)
                    .add("longest_gap_ms", stream.clock().longestGapMilliseconds(), 1)
                    .add("stalls", static_cast<std::uint64_t>(supervision.stalls()))
                    .add("reopenings", static_cast<std::uint64_t>(device.reopenings())),
                stream.failed() ? "failed" : endingName(ending));
    Checks checks(context);
    checkRecording(checks, stream);
    checkRun(checks, session.log(), supervision, ending);
    return checks.exitCode();
}

} // namespace soundcheck
