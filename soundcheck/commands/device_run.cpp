#include "commands/device_run.h"

#include "platform/text.h"

#include <cmath>
#include <limits>
#include <utility>

namespace soundcheck {
namespace {

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

std::string secondsText(std::uint64_t frames, std::uint32_t sampleRate) {
    return fixedDecimals(static_cast<double>(frames) / sampleRate, 1);
}

} // namespace

std::string formatText(const DeviceFormat& format) {
    return std::to_string(format.sampleRate) + " Hz, " + std::to_string(format.channels) +
           (format.channels == 1 ? " channel, " : " channels, ") + std::to_string(format.bitsPerSample) + " bits";
}

std::string timeText(std::uint64_t frames, std::uint64_t totalFrames, std::uint32_t sampleRate) {
    std::string text = secondsText(frames, sampleRate);
    text.insert(0, text.size() < 6 ? 6 - text.size() : 0, ' ');
    if (totalFrames != kNoLimit)
        text += " / " + secondsText(totalFrames, sampleRate);
    return text + " s";
}

std::uint64_t framesIn(double seconds, std::uint32_t sampleRate) {
    return seconds > 0 ? static_cast<std::uint64_t>(std::llround(seconds * sampleRate)) : kNoLimit;
}

std::uint64_t blocksIn(double seconds) {
    return seconds > 0 ? static_cast<std::uint64_t>(std::ceil(seconds * kBlocksPerSecond)) : kNoLimit;
}

void requirePlayable(const DeviceFormat& format, const std::string& deviceName) {
    if (format.bitsPerSample != 16 || format.channels == 0 || format.framesPerBlock() == 0)
        throw Failure(ExitCode::checkFailed, deviceName + " runs at " + formatText(format) +
                                                 ", which is not a format that a playback device may have.");
}

WavFormat wavFormatOf(const DeviceFormat& format) {
    return {format.channels, format.bitsPerSample, format.sampleRate, format.channelMask};
}

void checkRecording(Checks& checks, const CaptureStream& stream) {
    checks.expect(stream.failure().empty(), stream.failure(), ExitCode::fileFailed);
    checks.expect(stream.droppedBlocks() == 0,
                  std::to_string(stream.droppedBlocks()) + " captured block(s) could not be written.");
}

void tellSummary(const RunContext& context, std::string_view command, const Summary& summary, std::string_view ended,
                 const Json& details) {
    Json section = summary.values();
    section.update(details);
    context.document.set(command, std::move(section));
    tellSummaryLine(context, command, summary, ended);
}

void tellSummaryLine(const RunContext& context, std::string_view command, const Summary& summary,
                     std::string_view ended) {
    context.document.setEnded(ended);
    const LogRecord& log = context.document.log();
    const std::string counts = Summary()
                                   .add("log_errors", log.count(ORVO_LOG_ERROR))
                                   .add("log_warnings", log.count(ORVO_LOG_WARNING))
                                   .add("log_information", log.count(ORVO_LOG_INFORMATION))
                                   .addWord("ended", ended)
                                   .text();
    context.console.line("summary command=" + std::string(command) + summary.text() + counts);
}

void checkLog(Checks& checks, const LogRecord& log) {
    checks.expect(log.count(ORVO_LOG_ERROR) == 0,
                  "The plug-in reported " + std::to_string(log.count(ORVO_LOG_ERROR)) + " error(s).");
}

void checkDevices(Checks& checks, const LogRecord& log, const Supervision& supervision, Ending ending) {
    checkLog(checks, log);
    checks.expect(supervision.stalls() == 0, "A device stood still.");
    checks.expect(ending != Ending::gaveUp, "It did not go on; soundcheck gave up.");
}

void checkRun(Checks& checks, const LogRecord& log, const Supervision& supervision, Ending ending) {
    checkDevices(checks, log, supervision, ending);
    if (ending == Ending::interrupted && !supervision.allBegan() && !checks.failed())
        throw InterruptedTooEarly();
}

} // namespace soundcheck
