/**
 * @file
 * A sound that is easily found again: a chirp, whose likeness to anything else, and to itself a little earlier or
 * later, is small. Pure.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace soundcheck {

inline constexpr double kMarkerSeconds = 0.05;
inline constexpr double kMarkerPeriodSeconds = 1.0;

/** The marker, one channel, -1 ... 1. */
std::vector<float> makeMarker(std::uint32_t sampleRate);

/** One period to be played over and over: the marker, then silence. */
std::vector<std::int16_t> markerPeriod(std::uint32_t sampleRate);

/**
 * The likeness of two sounds of equal length, whatever their loudness: 1 the same, 0 nothing in common, -1 the same
 * upside down. 0 when one of them is silence.
 */
double normalisedCorrelation(std::span<const float> one, std::span<const float> other);

struct MarkerMatch {
    double seconds = 0; ///< where the marker begins
    double correlation = 0;
};

/** Finds the markers in a sound that comes piece by piece. */
class MarkerFinder {
public:
    /** What is less like the marker is something else. Noise reaches about 0.2. */
    static constexpr double kThreshold = 0.35;

    explicit MarkerFinder(std::uint32_t sampleRate);

    /** @param samples one channel */
    void add(std::span<const float> samples);

    /** In order. The newest may still be missing: it comes when nothing better has followed for half a period. */
    const std::vector<MarkerMatch>& matches() const { return m_matches; }
    /** No sound follows: the newest marker counts, too. */
    void finish();

private:
    void look(std::size_t position);
    void accept();

    std::uint32_t m_sampleRate;
    std::vector<float> m_marker;
    double m_markerEnergy;
    std::vector<float> m_sound;        ///< what is not yet looked at, and as much as a marker before its end
    std::uint64_t m_removed = 0;       ///< samples that were before m_sound
    double m_soundEnergy = 0;          ///< of the marker's length at the place that is looked at next
    std::optional<MarkerMatch> m_best; ///< of the last half period
    std::vector<MarkerMatch> m_matches;
};

} // namespace soundcheck
