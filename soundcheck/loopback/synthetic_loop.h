/**
 * @file
 * Recordings of the probe that no device made: clean ones, and such with errors of known kind, size and place. They
 * try the analysis. Pure.
 */
#pragma once

#include "loopback/loop_result.h"
#include "loopback/probe_signal.h"

#include <cstdint>

namespace soundcheck {

/** How a synthetic loopback is made. */
struct SyntheticLoop {
    std::uint32_t playedChannels = 2;
    std::uint32_t playedRate = 48000;
    std::uint32_t channels = 2;
    std::uint32_t sampleRate = 48000;
    std::uint32_t bits = 16;
    double toneSeconds = 1.5;
    double delayMilliseconds = 120; ///< between a played frame and the captured one
    double gain = 1;
    double noise = 0; ///< effective value
    double driftPpm = 0;
    bool swapped = false;

    ProbeSignal probe() const { return {playedChannels, playedRate, toneSeconds}; }
};

/** The recording, in the quality that so many bits allow. One channel records all played ones mixed. */
LoopRecording makeRecording(const SyntheticLoop& loop);

/** The frame of the recording that captures what was played so many seconds after the sines began. */
std::uint64_t frameInTone(const SyntheticLoop& loop, double seconds);

void dropFrames(LoopRecording& recording, std::uint64_t frame, std::uint64_t count);
void insertSilence(LoopRecording& recording, std::uint64_t frame, std::uint64_t count);
/** Inserts what stands before `frame` once more. */
void repeatFrames(LoopRecording& recording, std::uint64_t frame, std::uint64_t count);
/** Replaces frames by a constant. */
void spoilFrames(LoopRecording& recording, std::uint64_t frame, std::uint64_t count, float value);

} // namespace soundcheck
