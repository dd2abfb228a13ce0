#include "loopback/synthetic_loop.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <span>
#include <vector>

namespace soundcheck {
namespace {

constexpr double kBlockSeconds = 0.02;

float quantized(double value, std::uint32_t bits) {
    const double steps = bits == 8 ? 128 : 32768;
    return static_cast<float>(std::clamp(std::round(value * steps), -steps, steps - 1) / steps);
}

double playedSample(const ProbeSignal& probe, std::uint64_t frame, std::uint32_t channel, std::uint32_t channels) {
    if (channels > 1 || probe.channels() == 1)
        return probe.sample(frame, std::min(channel, probe.channels() - 1));
    double sum = 0;
    for (std::uint32_t source = 0; source < probe.channels(); ++source)
        sum += probe.sample(frame, source);
    return sum / probe.channels();
}

void shift(LoopRecording& recording, std::uint64_t frame, std::span<const float> inserted) {
    const auto place = recording.samples.begin() + static_cast<std::ptrdiff_t>(frame * recording.channels);
    recording.samples.insert(place, inserted.begin(), inserted.end());
}

/** As many whole blocks as there are samples. */
void setTimes(LoopRecording& recording, std::uint64_t playedBlocks) {
    for (std::uint64_t block = 0; block < playedBlocks; ++block)
        recording.playedSeconds.push_back(static_cast<double>(block) * kBlockSeconds);
    for (std::size_t block = 0; block * recording.framesPerBlock() < recording.frames(); ++block)
        recording.capturedSeconds.push_back(static_cast<double>(block) * kBlockSeconds);
}

} // namespace

LoopRecording makeRecording(const SyntheticLoop& loop) {
    LoopRecording recording;
    recording.channels = loop.channels;
    recording.sampleRate = loop.sampleRate;
    // What is captured at another pace is the probe at another rate; whole hertz are fine enough steps of drift.
    const auto rate = static_cast<std::uint32_t>(std::llround(loop.sampleRate * (1 + loop.driftPpm * 1e-6)));
    const ProbeSignal probe = loop.probe().atRate(rate);
    const auto delay = static_cast<std::uint64_t>(std::llround(loop.delayMilliseconds / 1000 * loop.sampleRate));
    std::mt19937 generator(20);
    std::normal_distribution<double> noise(0, 1);
    for (std::uint64_t frame = 0; frame < delay + probe.frames(); ++frame)
        for (std::uint32_t channel = 0; channel < loop.channels; ++channel) {
            double value = loop.noise > 0 ? loop.noise * noise(generator) : 0;
            if (frame >= delay)
                value += loop.gain *
                         playedSample(probe, frame - delay, loop.swapped ? channel ^ 1U : channel, loop.channels);
            recording.samples.push_back(quantized(value, loop.bits));
        }
    setTimes(recording, loop.probe().frames() / (loop.playedRate / 50) + 1);
    return recording;
}

std::uint64_t frameInTone(const SyntheticLoop& loop, double seconds) {
    const double delay = loop.delayMilliseconds / 1000 * loop.sampleRate;
    return static_cast<std::uint64_t>(
        std::llround(loop.probe().atRate(loop.sampleRate).toneBegin() + delay + seconds * loop.sampleRate));
}

void dropFrames(LoopRecording& recording, std::uint64_t frame, std::uint64_t count) {
    const auto place = recording.samples.begin() + static_cast<std::ptrdiff_t>(frame * recording.channels);
    recording.samples.erase(place, place + static_cast<std::ptrdiff_t>(count * recording.channels));
}

void insertSilence(LoopRecording& recording, std::uint64_t frame, std::uint64_t count) {
    shift(recording, frame, std::vector<float>(count * recording.channels));
}

void repeatFrames(LoopRecording& recording, std::uint64_t frame, std::uint64_t count) {
    const auto end = recording.samples.begin() + static_cast<std::ptrdiff_t>(frame * recording.channels);
    shift(recording, frame, std::vector<float>(end - static_cast<std::ptrdiff_t>(count * recording.channels), end));
}

void spoilFrames(LoopRecording& recording, std::uint64_t frame, std::uint64_t count, float value) {
    std::fill_n(recording.samples.begin() + static_cast<std::ptrdiff_t>(frame * recording.channels),
                static_cast<std::ptrdiff_t>(count * recording.channels), value);
}

} // namespace soundcheck
