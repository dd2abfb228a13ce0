#include "loopback/quiet_parts.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace soundcheck {
namespace {

/** Around impulses and sines: the ringing of filters. */
constexpr double kMarginSeconds = 0.01;
constexpr double kPieceSeconds = 0.005;

/** A pop: in effective values of the noise, and at least. */
constexpr double kPopNoise = 7;
constexpr double kPopLevel = 0.005;

struct Part {
    std::size_t begin = 0;
    std::size_t end = 0;
};

std::vector<Part> quietParts(const ProbeSignal& probe, const std::vector<FoundMark>& marks) {
    const double margin = kMarginSeconds * probe.sampleRate();
    std::vector<Part> parts;
    const auto add = [&](double begin, double end) {
        if (end - begin > 4 * margin)
            parts.push_back({static_cast<std::size_t>(begin + margin), static_cast<std::size_t>(end - margin)});
    };
    const auto behind = [&](const FoundMark& mark) {
        return mark.frame + ProbeSignal::markSpacingSeconds(mark.mark) * probe.sampleRate();
    };
    for (std::size_t i = 0; i < marks.size(); ++i) {
        if (i > 0 && marks[i].mark == marks[i - 1].mark + 1 && marks[i].mark != ProbeSignal::kMarksBefore)
            add(behind(marks[i - 1]), marks[i].frame);
        if (marks[i].mark == ProbeSignal::kMarksBefore) // the pause, counted back from the mark that ends it
            add(marks[i].frame - (probe.markAt(marks[i].mark) - probe.toneEnd()), marks[i].frame);
    }
    return parts;
}

struct Level {
    double offset = 0;
    double noise = 0;
};

double sampleAt(const LoopRecording& recording, std::size_t frame, std::size_t channel) {
    return static_cast<double>(recording.samples[frame * recording.channels + channel]);
}

Level levelOf(const LoopRecording& recording, std::size_t channel, Part part) {
    double sum = 0;
    double squares = 0;
    for (std::size_t frame = part.begin; frame < part.end; ++frame) {
        const double value = sampleAt(recording, frame, channel);
        sum += value;
        squares += value * value;
    }
    const auto count = static_cast<double>(part.end - part.begin);
    return {sum / count, std::sqrt(std::max(0.0, squares / count - sum * sum / count / count))};
}

/** The middle one of many short pieces: a pop, or sound in one part, does not change it. */
std::optional<Level> usualLevel(const LoopRecording& recording, std::size_t channel, const std::vector<Part>& parts) {
    const auto piece = static_cast<std::size_t>(kPieceSeconds * recording.sampleRate);
    std::vector<Level> levels;
    for (const Part& part : parts)
        for (std::size_t begin = part.begin; begin + piece <= part.end; begin += piece)
            levels.push_back(levelOf(recording, channel, {begin, begin + piece}));
    if (levels.empty())
        return std::nullopt;
    const auto middle = levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / 2);
    std::nth_element(levels.begin(), middle, levels.end(),
                     [](const Level& left, const Level& right) { return left.noise < right.noise; });
    return *middle;
}

void addPops(LoopResult& result, const LoopRecording& recording, const std::vector<Level>& levels, Part part) {
    const auto together = static_cast<std::size_t>(kPieceSeconds * recording.sampleRate);
    std::optional<Part> pop;
    const auto finish = [&] {
        if (pop)
            result.disturbances.push_back(
                {DisturbanceKind::pop, pop->begin, pop->end - pop->begin, 0, pop->end - pop->begin});
        pop.reset();
    };
    for (std::size_t frame = part.begin; frame < part.end; ++frame) {
        if (pop && frame - pop->end >= together)
            finish();
        for (std::size_t channel = 0; channel < recording.channels; ++channel) {
            const Level& level = levels[channel];
            if (std::abs(sampleAt(recording, frame, channel) - level.offset) >
                std::max(kPopLevel, kPopNoise * level.noise))
                pop = Part{pop ? pop->begin : frame, frame + 1};
        }
    }
    finish();
}

} // namespace

void judgeQuietParts(LoopResult& result, const LoopRecording& recording, const ProbeSignal& probe,
                     const std::vector<FoundMark>& marks) {
    const std::vector<Part> parts = quietParts(probe, marks);
    std::vector<Level> levels;
    for (std::size_t channel = 0; channel < recording.channels; ++channel) {
        const auto level = usualLevel(recording, channel, parts);
        if (!level)
            return;
        levels.push_back(*level);
        result.channels[channel].noiseDecibels =
            std::max(kDigitalSilenceDecibels, 20 * std::log10(std::max(1e-12, level->noise)));
    }
    for (const Part& part : parts)
        addPops(result, recording, levels, part);
}

} // namespace soundcheck
