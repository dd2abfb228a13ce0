/**
 * @file
 * What comes out of a loopback, and what the analysis says about it. Plain records.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace soundcheck {

/** What was captured while the probe was played, with the times of the callbacks. */
struct LoopRecording {
    std::uint32_t channels = 0;
    std::uint32_t sampleRate = 0;
    std::vector<float> samples;          ///< interleaved, -1 ... 1
    std::vector<double> capturedSeconds; ///< when each captured block of 20 ms was delivered
    std::vector<double> playedSeconds;   ///< when each played block was asked for, from the probe's first on

    std::size_t frames() const { return channels == 0 ? 0 : samples.size() / channels; }
    std::size_t framesPerBlock() const { return sampleRate / 50; }
};

enum class DisturbanceKind {
    dropped, ///< frames are missing
    added,   ///< frames are too many: silence, or something twice
    pop      ///< frames are spoilt in their place
};

/** "dropped", "added", "pop". */
std::string_view disturbanceName(DisturbanceKind kind);

struct Disturbance {
    DisturbanceKind kind = DisturbanceKind::pop;
    std::uint64_t frame = 0;  ///< of the recording: where it begins
    std::uint64_t frames = 0; ///< dropped, added or spoilt ones
    std::uint64_t within = 0; ///< it begins at `frame`, or up to so many frames later
    std::uint64_t spoilt = 0; ///< frames of the recording that hold nothing of the probe

    bool operator==(const Disturbance&) const = default;
};

/** One channel of the recording. */
struct LoopChannel {
    int source = -1;         ///< the played channel that is heard; -1: none
    bool mixed = false;      ///< others are heard as loud
    double gainDecibels = 0; ///< of `source`
    std::optional<double>
        noiseDecibels; ///< effective value in silence, against full scale, if there was any; see kDigitalSilenceDecibels
};

/** What digital silence is called. */
inline constexpr double kDigitalSilenceDecibels = -120;

struct LatencyPoint {
    double seconds = 0; ///< since the recording began
    double milliseconds = 0;
};

struct LatencySpread {
    double median = 0, min = 0, max = 0; ///< in milliseconds
};

/** The same moment as it was played and as it came back; channel by channel `captured` lies under `played`. */
struct LoopExcerpt {
    std::optional<Disturbance> disturbance; ///< what it shows; none: the first mark
    std::uint64_t frame = 0;                ///< of the recording
    std::vector<float> played;   ///< of the channel that is heard in the recording's first, at the recording's rate
    std::vector<float> captured; ///< the recording's first channel
};

struct LoopResult {
    std::size_t marks = 0;  ///< that were found; without at least two, the rest says nothing
    bool toneHeard = false; ///< without it, there is nothing about channels, pops and single frames
    std::vector<LoopChannel> channels;
    std::vector<Disturbance> disturbances; ///< in order
    std::vector<LatencyPoint> latency;     ///< one per mark
    LatencySpread latencySpread;
    double driftPpm = 0;               ///< how much faster the capture clock runs than the playback clock
    double playedRate = 0;             ///< Hz, by the computer's clock
    double capturedRate = 0;           ///< Hz, by the computer's clock
    std::vector<LoopExcerpt> excerpts; ///< the first mark, and each of the first disturbances

    bool found() const { return marks >= 2; }
    /** Frames of all disturbances of a kind. */
    std::uint64_t framesOf(DisturbanceKind kind) const;
    std::size_t count(DisturbanceKind kind) const;
    /** Played left is heard right, and the other way round. */
    bool swapped() const;
};

} // namespace soundcheck
