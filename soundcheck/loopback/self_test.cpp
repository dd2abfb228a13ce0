#include "loopback/self_test.h"

#include "loopback/analysis.h"

#include <cmath>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace soundcheck {
namespace {

/** A departure from the sines may need a third of a millisecond to grow beyond the noise. */
constexpr std::uint64_t kPlaceTolerance = 16;
constexpr double kGainTolerance = 0.1;    ///< decibels
constexpr double kLatencyTolerance = 0.3; ///< milliseconds
constexpr double kDriftTolerance = 5;     ///< ppm

using Cases = std::vector<SelfTestCase>;

std::string nameOf(const SyntheticLoop& loop) {
    return std::to_string(loop.sampleRate) + " Hz, " + std::to_string(loop.channels) +
           (loop.channels == 1 ? " channel, " : " channels, ") + std::to_string(loop.bits) + " bits";
}

std::string framesText(std::uint64_t frames, std::string_view what) {
    return std::to_string(frames) + (frames == 1 ? " frame " : " frames ") + std::string(what);
}

std::uint64_t distance(std::uint64_t left, std::uint64_t right) {
    return left > right ? left - right : right - left;
}

void addErrors(Cases& cases, const SyntheticLoop& loop) {
    const std::uint64_t place = frameInTone(loop, 0.7123);
    const std::uint64_t block = loop.sampleRate / 50;
    const std::string where = " (" + nameOf(loop) + ")";
    for (const std::uint64_t frames : {std::uint64_t{1}, std::uint64_t{48}, block, 7 * block + 5}) {
        cases.push_back({framesText(frames, "dropped") + where,
                         loop,
                         [=](LoopRecording& recording) { dropFrames(recording, place, frames); },
                         {{DisturbanceKind::dropped, place, frames}}});
        cases.push_back({framesText(frames, "of silence added") + where,
                         loop,
                         [=](LoopRecording& recording) { insertSilence(recording, place, frames); },
                         {{DisturbanceKind::added, place, frames}}});
        cases.push_back({framesText(frames, "played twice") + where,
                         loop,
                         [=](LoopRecording& recording) { repeatFrames(recording, place, frames); },
                         {{DisturbanceKind::added, place, frames}}});
        cases.push_back({framesText(frames, "spoilt") + where,
                         loop,
                         [=](LoopRecording& recording) { spoilFrames(recording, place, frames, 0.7F); },
                         {{DisturbanceKind::pop, place, frames}}});
    }
}

void addSeveralErrors(Cases& cases, const SyntheticLoop& loop) {
    const std::uint64_t first = frameInTone(loop, 0.3);
    const std::uint64_t second = frameInTone(loop, 0.6);
    const std::uint64_t third = frameInTone(loop, 1.2);
    cases.push_back({"Three errors (" + nameOf(loop) + ")",
                     loop,
                     [=](LoopRecording& recording) { // from the end, so that the places stay
                         insertSilence(recording, third, 500);
                         spoilFrames(recording, second, 3, -0.7F);
                         dropFrames(recording, first, 33);
                     },
                     {{DisturbanceKind::dropped, first, 33},
                      {DisturbanceKind::pop, second - 33, 3},
                      {DisturbanceKind::added, third - 33, 500}}});
}

void addHarmless(Cases& cases, const SyntheticLoop& loop, const std::string& name) {
    cases.push_back({name + " (" + nameOf(loop) + ")", loop, [](LoopRecording&) {}, {}});
}

double driftOf(const SyntheticLoop& loop) {
    return (std::round(loop.sampleRate * (1 + loop.driftPpm * 1e-6)) / loop.sampleRate - 1) * 1e6;
}

std::string wrongNumbers(const SyntheticLoop& loop, const LoopResult& result) {
    const LoopChannel& channel = result.channels.front();
    if (result.swapped() != loop.swapped)
        return result.swapped() ? "the channels are swapped" : "the channels are not swapped";
    if (std::abs(channel.gainDecibels - 20 * std::log10(loop.gain)) > kGainTolerance)
        return "the gain is " + std::to_string(channel.gainDecibels) + " dB";
    if (const double first = result.latency.front().milliseconds; // before any error
        std::abs(first - loop.delayMilliseconds) > kLatencyTolerance)
        return "the latency is " + std::to_string(first) + " ms";
    if (std::abs(result.driftPpm - driftOf(loop)) > kDriftTolerance)
        return "the drift is " + std::to_string(result.driftPpm) + " ppm";
    return {};
}

} // namespace

std::vector<SelfTestCase> selfTestCases() {
    Cases cases;
    const std::vector<SyntheticLoop> formats = {SyntheticLoop{}, SyntheticLoop{2, 44100, 2, 44100},
                                                SyntheticLoop{1, 48000, 1, 48000},
                                                SyntheticLoop{2, 48000, 2, 48000, 8}};
    for (const SyntheticLoop& loop : formats) {
        addHarmless(cases, loop, "Clean");
        addErrors(cases, loop);
        addSeveralErrors(cases, loop);
    }
    SyntheticLoop loop;
    loop.swapped = true;
    addHarmless(cases, loop, "Left and right swapped");
    loop = {};
    loop.gain = 0.25;
    addHarmless(cases, loop, "A quarter of the level");
    loop = {};
    loop.noise = 0.001;
    addHarmless(cases, loop, "Noise at -60 dB");
    loop = {};
    loop.driftPpm = 200;
    addHarmless(cases, loop, "Clocks that drift apart");
    return cases;
}

std::string selfTestFailure(const SelfTestCase& test) {
    LoopRecording recording = makeRecording(test.loop);
    test.spoil(recording);
    const LoopResult result = analyse(recording, test.loop.probe());
    if (!result.toneHeard || result.latency.empty())
        return "the probe was not found";
    if (result.disturbances.size() != test.expected.size())
        return std::to_string(result.disturbances.size()) + " errors were found instead of " +
               std::to_string(test.expected.size());
    for (std::size_t i = 0; i < test.expected.size(); ++i) {
        const Disturbance& found = result.disturbances[i];
        const Disturbance& wanted = test.expected[i];
        if (found.kind != wanted.kind || distance(found.frame, wanted.frame) > kPlaceTolerance ||
            found.frames != wanted.frames)
            return std::string(disturbanceName(found.kind)) + ", " + framesText(found.frames, "at ") +
                   std::to_string(found.frame) + " instead of " + std::string(disturbanceName(wanted.kind)) + ", " +
                   framesText(wanted.frames, "at ") + std::to_string(wanted.frame);
    }
    return wrongNumbers(test.loop, result);
}

} // namespace soundcheck
