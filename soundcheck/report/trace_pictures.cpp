#include "report/trace_pictures.h"

#include "pictures/pictures.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace soundcheck {
namespace {

/** More than these are no longer looked at one by one. */
constexpr std::size_t kMostWaveforms = 12;
constexpr std::size_t kMostHistograms = 12;

constexpr double kFullScaleOfTrace = 32768;

WaveTrack trackOf(std::string name, const SignalTrace& signal, const LogRecord& log) {
    WaveTrack track{std::move(name), {}};
    for (const SignalTrace::Column& column : signal.columns())
        track.columns.push_back(
            {log.seconds(column.time), column.range.low / kFullScaleOfTrace, column.range.high / kFullScaleOfTrace});
    return track;
}

std::vector<TimelineRow::Span> spansOf(std::span<const IntervalTrace::Span> spans, const LogRecord& log) {
    std::vector<TimelineRow::Span> result;
    for (const IntervalTrace::Span& span : spans)
        result.push_back({log.seconds(span.from), log.seconds(span.to)});
    return result;
}

PagePicture waveforms(const std::vector<const DeviceTrace*>& traces, const LogRecord& log) {
    std::vector<WaveTrack> tracks;
    std::size_t leftOut = 0;
    const auto add = [&](std::string name, const SignalTrace& signal) {
        if (signal.columns().empty())
            return;
        if (tracks.size() < kMostWaveforms)
            tracks.push_back(trackOf(std::move(name), signal, log));
        else
            ++leftOut;
    };
    for (const bool playback : {true, false})
        for (const DeviceTrace* trace : traces)
            if (trace->isPlayback() == playback) {
                add((playback ? "played on " : "captured from ") + trace->name(), trace->signal());
                add("reference for " + trace->name(), trace->reference());
            }
    std::string caption = "The signals on one time axis, each at the time at which its blocks were handed over and "
                          "as high as its row. What is played is heard a moment later.";
    if (leftOut != 0)
        caption += " " + std::to_string(leftOut) + " more are not shown.";
    return {caption, waveformPicture(tracks)};
}

PagePicture timeline(const std::vector<const DeviceTrace*>& traces, const LogRecord& log) {
    std::vector<TimelineRow> rows;
    std::size_t gaps = 0;
    for (const DeviceTrace* trace : traces) {
        gaps += trace->intervals().gaps().size();
        rows.push_back({(trace->isPlayback() ? "playback: " : "capture: ") + trace->name(),
                        spansOf(trace->intervals().runs(), log), spansOf(trace->intervals().gaps(), log)});
    }
    std::vector<TimelineMark> marks;
    for (const LogLine& line : log.kept().lines)
        marks.push_back({line.seconds, line.level, line.text});
    const auto limit = std::to_string(std::chrono::milliseconds(IntervalTrace::kGap).count());
    return {"When blocks came. " +
                (gaps == 0 ? "No gap was longer than " + limit + " ms."
                           : std::to_string(gaps) + " gap(s) longer than " + limit + " ms are marked in red.") +
                (marks.empty() ? "" : " Above, the plug-in's log lines: errors red, warnings brown, others grey."),
            timelinePicture(rows, marks)};
}

std::vector<PagePicture> histograms(const std::vector<const DeviceTrace*>& traces) {
    std::vector<PagePicture> pictures;
    for (const DeviceTrace* trace : traces) {
        const std::span counts = trace->intervals().counts();
        const double bin = std::chrono::duration<double, std::milli>(IntervalTrace::kBin).count();
        if (pictures.size() < kMostHistograms)
            pictures.push_back(
                {"Time between two callbacks of " + trace->name() + ": around 20 ms is as it should be.",
                 intervalPicture({bin, {counts.begin(), counts.end()}})});
    }
    return pictures;
}

} // namespace

std::vector<PagePicture> picturesOf(const std::vector<const DeviceTrace*>& traces, const LogRecord& log) {
    std::vector<PagePicture> pictures = {waveforms(traces, log), timeline(traces, log)};
    for (PagePicture& picture : histograms(traces))
        pictures.push_back(std::move(picture));
    return pictures;
}

} // namespace soundcheck
