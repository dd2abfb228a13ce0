// A signal of which every frame is known: pseudo-noise, a function of the frame's number alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace live {

/// Never 0, so that silence is nowhere part of it.
std::int16_t signalSample(std::uint64_t frame, std::uint32_t channel);

/// Writes `count` frames of the signal from `first`.
void writeSignal(std::int16_t* samples, std::uint64_t first, std::size_t count, std::uint32_t channels);

/// A place at which the recording is not what it should be.
struct Trouble {
    enum class Kind { lost, repeated, wrong } kind;
    std::uint64_t frames;
    std::size_t position; ///< frame of the recording
};

/// How a recording differs from the signal. Frames before its first and behind its last known one do not count.
struct SignalReport {
    bool found = false;
    std::uint64_t firstFrame = 0; ///< number of the signal's frame that was heard first
    std::uint64_t compared = 0;
    std::uint64_t lost = 0;
    std::uint64_t repeated = 0; ///< heard again, or something else in between
    std::uint64_t wrong = 0;    ///< in their place, but not the same
    int largestDifference = 0;  ///< of a sample that counts as the same
    std::vector<Trouble> troubles;
};

std::string describe(const Trouble& trouble);

SignalReport examine(const std::vector<std::int16_t>& recording, std::uint32_t channels);

} // namespace live
