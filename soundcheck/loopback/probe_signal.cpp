#include "loopback/probe_signal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace soundcheck {
namespace {

/**
 * Primes: no multiple of one that can be heard is a multiple of another. The first two are chosen such that no shift
 * of up to 200 ms, at 44.1 or 48 kHz, brings both back to within 0.05 rad.
 */
constexpr std::array<double, 8> kTones = {991, 2311, 1427, 1831, 1231, 2081, 1619, 2551};

constexpr double kLeadSeconds = 1.0; ///< devices settle, and a monitor wakes up
constexpr double kFadeSeconds = 0.01;
constexpr double kPauseSeconds = 0.3; ///< for the noise floor
constexpr double kTailSeconds = 0.2;
constexpr double kToneBeginSeconds =
    kLeadSeconds + ProbeSignal::kMarkDistanceSeconds * static_cast<double>(ProbeSignal::kMarksBefore);

/** A raised cosine around 0. */
double impulse(double seconds) {
    const double phase = seconds / ProbeSignal::kImpulseSeconds;
    return std::abs(phase) < 0.5 ? 0.5 + 0.5 * std::cos(2 * std::numbers::pi * phase) : 0.0;
}

} // namespace

ProbeSignal::ProbeSignal(std::uint32_t channels, std::uint32_t sampleRate, double toneSeconds)
    : m_channels(channels), m_sampleRate(sampleRate), m_toneSeconds(toneSeconds) {}

double ProbeSignal::sample(std::uint64_t frame, std::uint32_t channel) const {
    const double seconds = static_cast<double>(frame) / m_sampleRate;
    if (const double since = seconds - kToneBeginSeconds; since > 0 && since < m_toneSeconds)
        return toneSample(since, channel);
    double value = 0;
    for (std::size_t mark = 0; mark < kMarks; ++mark) {
        const double since = seconds - markSeconds(mark);
        value += kMarkAmplitude * (impulse(since) + impulse(since - markSpacingSeconds(mark)));
    }
    return value;
}

double ProbeSignal::toneSample(double since, std::uint32_t channel) const {
    const double edge = std::min(since, m_toneSeconds - since);
    double value = 0;
    for (std::size_t tone = channel; tone < toneCount(); tone += m_channels)
        value += amplitudeOf(tone) * std::sin(2 * std::numbers::pi * std::fmod(frequencyOf(tone) * since, 1.0));
    return value * 0.5 * (1 - std::cos(std::numbers::pi * std::min(1.0, edge / kFadeSeconds)));
}

std::size_t ProbeSignal::toneCount() const {
    return std::clamp<std::size_t>(m_channels, 2, kTones.size());
}

double ProbeSignal::frequencyOf(std::size_t tone) {
    return kTones[tone];
}

double ProbeSignal::amplitudeOf(std::size_t) const {
    return m_channels == 1 ? kToneAmplitude / 2 : kToneAmplitude;
}

double ProbeSignal::markSeconds(std::size_t mark) const {
    const double first = mark < kMarksBefore ? kLeadSeconds : kToneBeginSeconds + m_toneSeconds + kPauseSeconds;
    return first + kMarkDistanceSeconds * static_cast<double>(mark < kMarksBefore ? mark : mark - kMarksBefore);
}

std::uint64_t ProbeSignal::frames() const {
    return static_cast<std::uint64_t>((markSeconds(kMarks - 1) + kTailSeconds) * m_sampleRate);
}

double ProbeSignal::toneBegin() const {
    return kToneBeginSeconds * m_sampleRate;
}

double ProbeSignal::toneEnd() const {
    return (kToneBeginSeconds + m_toneSeconds) * m_sampleRate;
}

double ProbeSignal::markAt(std::size_t mark) const {
    return markSeconds(mark) * m_sampleRate;
}

} // namespace soundcheck
