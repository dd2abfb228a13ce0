#include "loopback/analysis.h"

#include "loopback/mark_finder.h"
#include "loopback/quiet_parts.h"
#include "loopback/tone_tracker.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <span>

namespace soundcheck {
namespace {

/** The sines are followed except for their first and last moments: fades, and the ringing of filters. */
constexpr double kToneMarginSeconds = 0.03;

/** Another sine this close to the loudest one is no crosstalk. */
constexpr double kMixedShare = 0.5;

/** Blocks of the first second: queues fill up, so blocks come faster or slower than they are heard. */
constexpr std::size_t kSettlingBlocks = 50;

constexpr double kExcerptSeconds = 0.03;
constexpr std::size_t kMaxDisturbanceExcerpts = 5;

double markDistance(const ProbeSignal& probe, std::size_t from, std::size_t to) {
    return probe.markAt(to) - probe.markAt(from);
}

std::optional<ToneTrack> followBetweenMarks(const LoopRecording& recording, const ProbeSignal& probe,
                                            const std::vector<FoundMark>& marks) {
    if (marks.empty())
        return std::nullopt;
    // The last mark before the sines, or else the first one behind them.
    auto anchor = marks.begin();
    while (std::next(anchor) != marks.end() && std::next(anchor)->mark < ProbeSignal::kMarksBefore)
        ++anchor;
    const double delay = anchor->frame - probe.markAt(anchor->mark);
    const double margin = kToneMarginSeconds * recording.sampleRate;
    const auto frameOf = [](double frame) { return static_cast<std::size_t>(std::max(0.0, frame)); };
    return followTones(recording, probe, frameOf(probe.toneBegin() + delay + margin),
                       frameOf(probe.toneEnd() + delay - margin));
}

double sumOfMoves(const std::vector<Disturbance>& disturbances) {
    double sum = 0;
    for (const Disturbance& disturbance : disturbances)
        if (disturbance.kind == DisturbanceKind::dropped)
            sum -= static_cast<double>(disturbance.frames);
        else if (disturbance.kind == DisturbanceKind::added)
            sum += static_cast<double>(disturbance.frames);
    return sum;
}

/**
 * What moved between two marks without the sines having told it. With sines in between, it is looked for behind
 * them: that is the longer unwatched part.
 */
void addMovesBetweenMarks(LoopResult& result, const ProbeSignal& probe, const std::vector<FoundMark>& marks,
                          const std::optional<ToneTrack>& track) {
    for (std::size_t i = 1; i < marks.size(); ++i) {
        const FoundMark& before = marks[i - 1];
        const FoundMark& behind = marks[i];
        const bool spansTone = before.mark < ProbeSignal::kMarksBefore && behind.mark >= ProbeSignal::kMarksBefore;
        if (spansTone && !track)
            continue; // the drift of so long a time is not known
        double moved = behind.frame - before.frame -
                       markDistance(probe, before.mark, behind.mark) * (1 + result.driftPpm * 1e-6);
        double from = before.frame + ProbeSignal::markSpacingSeconds(before.mark) * probe.sampleRate();
        if (spansTone) {
            moved -= sumOfMoves(track->disturbances);
            from = std::max(from, static_cast<double>(track->end));
        }
        const auto whole = std::llround(moved);
        if (whole == 0)
            continue;
        result.disturbances.push_back({whole < 0 ? DisturbanceKind::dropped : DisturbanceKind::added,
                                       static_cast<std::uint64_t>(from), static_cast<std::uint64_t>(std::abs(whole)),
                                       static_cast<std::uint64_t>(std::max(0.0, behind.frame - from)), 0});
    }
}

LoopChannel channelOf(const std::vector<Phasor>& tones, const ProbeSignal& probe) {
    LoopChannel channel;
    const auto loudest = std::max_element(tones.begin(), tones.end(), [](const Phasor& left, const Phasor& right) {
        return std::abs(left) < std::abs(right);
    });
    if (loudest == tones.end() || std::abs(*loudest) == 0)
        return channel;
    const auto tone = static_cast<std::size_t>(loudest - tones.begin());
    channel.source = static_cast<int>(probe.channelOf(tone));
    channel.gainDecibels = 20 * std::log10(std::abs(*loudest) / probe.amplitudeOf(tone));
    for (std::size_t other = 0; other < tones.size(); ++other)
        channel.mixed = channel.mixed || (probe.channelOf(other) != probe.channelOf(tone) &&
                                          std::abs(tones[other]) > kMixedShare * std::abs(*loudest));
    return channel;
}

/** The time of a frame, from the times of the blocks. */
std::optional<double> timeOf(double frame, std::uint32_t sampleRate, std::span<const double> blockTimes) {
    const double perBlock = sampleRate / 50.0;
    const auto block = static_cast<std::size_t>(frame / perBlock);
    if (frame < 0 || block >= blockTimes.size())
        return std::nullopt;
    return blockTimes[block] + (frame - static_cast<double>(block) * perBlock) / sampleRate;
}

void addLatency(LoopResult& result, const LoopRecording& recording, const ProbeSignal& played,
                const std::vector<FoundMark>& marks) {
    std::vector<double> sorted;
    for (const FoundMark& mark : marks) {
        const auto out = timeOf(played.markAt(mark.mark), played.sampleRate(), recording.playedSeconds);
        const auto in = timeOf(mark.frame, recording.sampleRate, recording.capturedSeconds);
        if (!out || !in)
            continue;
        result.latency.push_back({mark.frame / recording.sampleRate, (*in - *out) * 1000});
        sorted.push_back(result.latency.back().milliseconds);
    }
    if (sorted.empty())
        return;
    std::sort(sorted.begin(), sorted.end());
    result.latencySpread = {sorted[sorted.size() / 2], sorted.front(), sorted.back()};
}

/**
 * Frames per second: the slope of the straight line that fits the block times best, behind the first second when as
 * much follows. 0 before the second block.
 */
double rateOf(std::span<const double> times, double framesPerBlock) {
    if (times.size() >= 2 * kSettlingBlocks)
        times = times.subspan(kSettlingBlocks);
    if (times.size() < 2)
        return 0;
    const double middle = static_cast<double>(times.size() - 1) / 2;
    double products = 0;
    double squares = 0;
    for (std::size_t i = 0; i < times.size(); ++i) {
        const double place = static_cast<double>(i) - middle;
        products += place * times[i];
        squares += place * place;
    }
    return products > 0 ? framesPerBlock * squares / products : 0;
}

LoopExcerpt excerptAt(const LoopRecording& recording, const ProbeSignal& probe, int source, double frame,
                      double delay) {
    const auto frames = static_cast<std::size_t>(kExcerptSeconds * recording.sampleRate);
    const double first = std::max({0.0, delay, frame - static_cast<double>(frames) / 4});
    LoopExcerpt excerpt;
    excerpt.frame = static_cast<std::uint64_t>(first);
    const auto playedFrame = static_cast<std::uint64_t>(std::max(0.0, std::round(first - delay)));
    for (std::size_t i = 0; i < frames && excerpt.frame + i < recording.frames(); ++i) {
        excerpt.played.push_back(
            static_cast<float>(probe.sample(playedFrame + i, static_cast<std::uint32_t>(std::max(0, source)))));
        excerpt.captured.push_back(recording.samples[(excerpt.frame + i) * recording.channels]);
    }
    return excerpt;
}

/** The delay just before a frame: that of the last mark before it, and what moved since. */
double delayBefore(const LoopResult& result, const ProbeSignal& probe, const std::vector<FoundMark>& marks,
                   double frame) {
    const FoundMark* known = &marks.front();
    for (const FoundMark& mark : marks)
        if (mark.frame <= frame)
            known = &mark;
    std::vector<Disturbance> since;
    std::copy_if(result.disturbances.begin(), result.disturbances.end(), std::back_inserter(since),
                 [&](const Disturbance& disturbance) {
                     const auto place = static_cast<double>(disturbance.frame);
                     return place > known->frame && place < frame;
                 });
    return known->frame - probe.markAt(known->mark) + sumOfMoves(since);
}

void addExcerpts(LoopResult& result, const LoopRecording& recording, const ProbeSignal& probe,
                 const std::vector<FoundMark>& marks) {
    const int source = result.channels.empty() ? 0 : result.channels.front().source;
    const auto add = [&](double frame, std::optional<Disturbance> disturbance) {
        result.excerpts.push_back(
            excerptAt(recording, probe, source, frame, delayBefore(result, probe, marks, frame)));
        result.excerpts.back().disturbance = disturbance;
    };
    add(marks.front().frame, std::nullopt);
    for (std::size_t i = 0; i < result.disturbances.size() && i < kMaxDisturbanceExcerpts; ++i)
        add(static_cast<double>(result.disturbances[i].frame), result.disturbances[i]);
}

} // namespace

LoopResult analyse(const LoopRecording& recording, const ProbeSignal& played) {
    LoopResult result;
    result.playedRate = rateOf(recording.playedSeconds, played.sampleRate() / 50.0);
    result.capturedRate = rateOf(recording.capturedSeconds, recording.sampleRate / 50.0);
    const ProbeSignal probe = played.atRate(recording.sampleRate);
    const std::vector<FoundMark> marks = findMarks(recording);
    result.marks = marks.size();
    if (!result.found())
        return result;

    const std::optional<ToneTrack> track = followBetweenMarks(recording, probe, marks);
    result.toneHeard = track.has_value();
    result.channels.resize(recording.channels);
    if (track) {
        result.driftPpm = track->driftPpm;
        result.disturbances = track->disturbances;
        for (std::size_t channel = 0; channel < recording.channels; ++channel)
            result.channels[channel] = channelOf(track->tones[channel], probe);
    }
    addMovesBetweenMarks(result, probe, marks, track);
    judgeQuietParts(result, recording, probe, marks);
    std::sort(result.disturbances.begin(), result.disturbances.end(),
              [](const Disturbance& left, const Disturbance& right) { return left.frame < right.frame; });
    addLatency(result, recording, played, marks);
    addExcerpts(result, recording, probe, marks);
    return result;
}

} // namespace soundcheck
