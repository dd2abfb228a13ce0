#include "loopback/mark_finder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>
#include <span>

namespace soundcheck {
namespace {

/** Impulses are twice as loud as what else there is: the sines of the probe have a third of their level. */
constexpr double kShareOfLoudest = 0.5;
/** -60 dB: below it nothing was connected. */
constexpr double kFaintest = 0.001;
/** The impulses of a mark are closer to each other than this, other marks are farther away. */
constexpr double kMarkWidthSeconds = 0.03;
/** A fifth of the step between two marks: a lost frame between the impulses does not hide a mark. */
constexpr double kSpacingToleranceSeconds = ProbeSignal::kSpacingStepSeconds / 5;

using Template = std::vector<double>;

Template impulseTemplate(double sampleRate) {
    const auto half = static_cast<int>(ProbeSignal::kImpulseSeconds * sampleRate / 2);
    Template shape;
    double squares = 0;
    for (int i = -half; i <= half; ++i) {
        shape.push_back(0.5 + 0.5 * std::cos(2 * std::numbers::pi * i / sampleRate / ProbeSignal::kImpulseSeconds));
        squares += shape.back() * shape.back();
    }
    for (double& value : shape)
        value /= squares; // an impulse of amplitude 1 gives 1
    return shape;
}

/** How much of an impulse there is around each frame: the sum of all channels, whatever their sign. */
std::vector<double> impulseLevels(const LoopRecording& recording) {
    const Template shape = impulseTemplate(recording.sampleRate);
    const std::size_t half = shape.size() / 2;
    std::vector<double> levels(recording.frames());
    for (std::size_t frame = half; frame + half < levels.size(); ++frame)
        for (std::size_t channel = 0; channel < recording.channels; ++channel) {
            double sum = 0;
            for (std::size_t i = 0; i < shape.size(); ++i)
                sum += shape[i] *
                       static_cast<double>(recording.samples[(frame + i - half) * recording.channels + channel]);
            levels[frame] += std::abs(sum) / recording.channels;
        }
    return levels;
}

/** The top of the parabola through a peak and its neighbours. */
double refined(const std::vector<double>& levels, std::size_t peak) {
    const double curve = levels[peak - 1] - 2 * levels[peak] + levels[peak + 1];
    const double slope = (levels[peak + 1] - levels[peak - 1]) / 2;
    return static_cast<double>(peak) - (curve < 0 ? slope / curve : 0.0);
}

std::vector<double> findPeaks(const std::vector<double>& levels, double threshold, std::size_t apart) {
    std::vector<double> peaks;
    std::size_t last = 0;
    for (std::size_t frame = 1; frame + 1 < levels.size(); ++frame) {
        if (levels[frame] < threshold || levels[frame] < levels[frame - 1] || levels[frame] <= levels[frame + 1])
            continue;
        if (peaks.empty() || frame - last >= apart)
            peaks.push_back(refined(levels, frame));
        else if (levels[frame] > levels[last])
            peaks.back() = refined(levels, frame);
        else
            continue;
        last = frame;
    }
    return peaks;
}

std::optional<std::size_t> markOfSpacing(double seconds) {
    const double place = (seconds - ProbeSignal::kFirstSpacingSeconds) / ProbeSignal::kSpacingStepSeconds;
    const double nearest = std::round(place);
    if (nearest < 0 || nearest >= static_cast<double>(ProbeSignal::kMarks) ||
        std::abs(place - nearest) > kSpacingToleranceSeconds / ProbeSignal::kSpacingStepSeconds)
        return std::nullopt;
    return static_cast<std::size_t>(nearest);
}

} // namespace

std::vector<FoundMark> findMarks(const LoopRecording& recording) {
    const std::vector<double> levels = impulseLevels(recording);
    const double loudest = levels.empty() ? 0 : *std::max_element(levels.begin(), levels.end());
    std::vector<FoundMark> marks;
    if (loudest < kFaintest)
        return marks;

    const auto apart = static_cast<std::size_t>(ProbeSignal::kImpulseSeconds * recording.sampleRate);
    const std::vector<double> peaks = findPeaks(levels, loudest * kShareOfLoudest, apart);
    const double width = kMarkWidthSeconds * recording.sampleRate;
    for (std::size_t first = 0, next = 0; first < peaks.size(); first = next) {
        next = first + 1;
        while (next < peaks.size() && peaks[next] - peaks[next - 1] < width)
            ++next;
        if (next - first != 2) // something else was loud
            continue;
        const auto mark = markOfSpacing((peaks[first + 1] - peaks[first]) / recording.sampleRate);
        if (mark && (marks.empty() || *mark > marks.back().mark))
            marks.push_back({*mark, peaks[first]});
    }
    return marks;
}

} // namespace soundcheck
