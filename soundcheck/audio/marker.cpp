#include "audio/marker.h"

#include "audio/sample_format.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>

namespace soundcheck {
namespace {

constexpr double kLowestHertz = 500;
constexpr double kHighestHertz = 5000; // within what a telephone's loudspeaker can do
constexpr double kAmplitude = 0.3;

/** 80 dB below the marker there is nothing to be found. */
constexpr double kSilentShare = 1e-8;

constexpr double kHoldSeconds = kMarkerPeriodSeconds / 2;

/** Several sums at once: the compiler may not reorder one. */
double product(std::span<const float> one, std::span<const float> other) {
    std::array<float, 8> sums{};
    std::size_t i = 0;
    for (; i + sums.size() <= one.size(); i += sums.size())
        for (std::size_t lane = 0; lane < sums.size(); ++lane)
            sums[lane] += one[i + lane] * other[i + lane];
    for (; i < one.size(); ++i)
        sums[0] += one[i] * other[i];
    return std::accumulate(sums.begin(), sums.end(), 0.0);
}

double square(float sample) {
    return double{sample} * double{sample};
}

} // namespace

std::vector<float> makeMarker(std::uint32_t sampleRate) {
    std::vector<float> marker(static_cast<std::size_t>(kMarkerSeconds * sampleRate));
    for (std::size_t i = 0; i < marker.size(); ++i) {
        const double time = static_cast<double>(i) / sampleRate;
        const double share = time / kMarkerSeconds;
        const double turns = kLowestHertz * time + (kHighestHertz - kLowestHertz) * time * share / 2;
        const double envelope = std::sin(std::numbers::pi * share);
        marker[i] = static_cast<float>(kAmplitude * envelope * std::sin(2 * std::numbers::pi * turns));
    }
    return marker;
}

std::vector<std::int16_t> markerPeriod(std::uint32_t sampleRate) {
    const std::vector<float> marker = makeMarker(sampleRate);
    std::vector<std::int16_t> period(static_cast<std::size_t>(kMarkerPeriodSeconds * sampleRate));
    std::transform(marker.begin(), marker.end(), period.begin(), toSigned16);
    return period;
}

double normalisedCorrelation(std::span<const float> one, std::span<const float> other) {
    const double energy = std::sqrt(product(one, one) * product(other, other));
    return energy > 0 ? product(one, other) / energy : 0.0;
}

MarkerFinder::MarkerFinder(std::uint32_t sampleRate)
    : m_sampleRate(sampleRate), m_marker(makeMarker(sampleRate)), m_markerEnergy(product(m_marker, m_marker)) {}

void MarkerFinder::add(std::span<const float> samples) {
    m_sound.insert(m_sound.end(), samples.begin(), samples.end());
    const std::size_t length = m_marker.size();
    if (m_sound.size() < length)
        return;
    // Summed up anew for each piece, so that the roundings of the steps do not add up.
    m_soundEnergy = product(std::span(m_sound).first(length), std::span(m_sound).first(length));
    std::size_t position = 0;
    for (; position + length < m_sound.size(); ++position) {
        look(position);
        m_soundEnergy += square(m_sound[position + length]) - square(m_sound[position]);
    }
    m_sound.erase(m_sound.begin(), m_sound.begin() + static_cast<std::ptrdiff_t>(position));
    m_removed += position;
}

void MarkerFinder::look(std::size_t position) {
    const double seconds = static_cast<double>(m_removed + position) / m_sampleRate;
    if (m_best && seconds - m_best->seconds > kHoldSeconds)
        accept();
    if (m_soundEnergy <= m_markerEnergy * kSilentShare)
        return;
    const double likeness = product(std::span(m_sound).subspan(position, m_marker.size()), m_marker) /
                            std::sqrt(m_soundEnergy * m_markerEnergy);
    if (likeness >= kThreshold && (!m_best || likeness > m_best->correlation))
        m_best = {seconds, likeness};
}

void MarkerFinder::accept() {
    m_matches.push_back(*m_best);
    m_best.reset();
}

void MarkerFinder::finish() {
    if (m_best)
        accept();
}

} // namespace soundcheck
