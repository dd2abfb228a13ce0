/**
 * @file
 * What the commands that run devices have in common: texts, conversions of --seconds, and the checks at the end.
 */
#pragma once

#include "client/device.h"
#include "commands/checks.h"
#include "commands/supervision.h"
#include "report/summary.h"
#include "streams/capture_stream.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace soundcheck {

inline constexpr double kBlockMilliseconds = 1000.0 / kBlocksPerSecond;

/** Characters of a level meter. */
inline constexpr std::size_t kMeterWidth = 30;

/** "48000 Hz, 2 channels, 16 bits". */
std::string formatText(const DeviceFormat& format);

/** "  3.2 / 10.0 s"; without an end "  3.2 s". */
std::string timeText(std::uint64_t frames, std::uint64_t totalFrames, std::uint32_t sampleRate);

/** Frames in so many seconds; 0 seconds mean no limit. */
std::uint64_t framesIn(double seconds, std::uint32_t sampleRate);

/** Blocks that hold so many seconds, rounded up; 0 seconds mean no limit. */
std::uint64_t blocksIn(double seconds);

/** Throws Failure when no 16-bit samples can be made for this format. */
void requirePlayable(const DeviceFormat& format, const std::string& deviceName);

/** The header of a file that holds what this device delivers. */
WavFormat wavFormatOf(const DeviceFormat& format);

/** Everything that was captured is on disk. */
void checkRecording(Checks& checks, const CaptureStream& stream);

/**
 * Tells a command's numbers: the line `summary command=play ... ended=complete`, and the section of the document.
 * @param details more for the section, which is too much for a line
 */
void tellSummary(const RunContext& context, std::string_view command, const Summary& summary, std::string_view ended,
                 const Json& details = Json::object());

/** The plug-in told no error. */
void checkLog(Checks& checks, const LogRecord& log);

/** The line alone, for a command that writes one per device. */
void tellSummaryLine(const RunContext& context, std::string_view command, const Summary& summary,
                     std::string_view ended);

/** What every run must keep: no error told by the plug-in, no device that stood still. */
void checkDevices(Checks& checks, const LogRecord& log, const Supervision& supervision, Ending ending);

/** The same; throws InterruptedTooEarly when Ctrl-C came before every device had begun, and nothing else is wrong. */
void checkRun(Checks& checks, const LogRecord& log, const Supervision& supervision, Ending ending);

} // namespace soundcheck
