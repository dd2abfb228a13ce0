#include "loopback/tone_model.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>
#include <utility>

namespace soundcheck {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

constexpr std::size_t kWindowsPerSecond = 200;
/** Windows from which noise and drift are learned. */
constexpr std::size_t kLockWindows = 20;
/** Share of the power in a window that need not be sines, to begin with. */
constexpr double kStrangePower = 0.05;
/** A departure from what is expected: in effective values of the noise, and at least, as a share of the sines. */
constexpr double kDepartureNoise = 7;
constexpr double kDepartureLevel = 0.02;
/** What a clean window may hold besides the sines. */
constexpr double kCleanNoise = 3;
constexpr double kCleanLevel = 0.01;
/** A sine this much weaker than the strongest one is crosstalk. */
constexpr double kCrosstalk = 0.1;

/** Shares of a new measurement in delay, drift and level. */
constexpr double kDelayShare = 0.5;
constexpr double kDriftShare = 0.05;
constexpr double kLevelShare = 0.1;

/** Phases are known to this, with no noise at all. */
constexpr double kPhaseTolerance = 0.005;
/** So many seconds farther away is as unlikely as one tolerance more. */
constexpr double kLikelySeconds = 0.2;
/** Nothing is expected to move farther. */
constexpr double kMaxMoveSeconds = 1.0;

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double level(const std::vector<Phasor>& tones) {
    double sum = 0;
    for (const Phasor& tone : tones)
        sum += std::abs(tone);
    return sum;
}

/** Nearly all that is heard in the window are sines, and they are no mere trace. */
bool holdsTones(const ToneFit& fit) {
    double power = 0;
    for (const Phasor& tone : fit.tones)
        power += std::norm(tone) / 2;
    return power > 1e-7 && fit.residual * fit.residual < kStrangePower * power;
}

std::vector<double> frequenciesOf(const ProbeSignal& probe) {
    std::vector<double> frequencies;
    for (std::size_t tone = 0; tone < probe.toneCount(); ++tone)
        frequencies.push_back(ProbeSignal::frequencyOf(tone));
    return frequencies;
}

} // namespace

ToneModel::ToneModel(const LoopRecording& recording, const ProbeSignal& probe)
    : m_recording(recording),
      m_fitter(frequenciesOf(probe), recording.sampleRate, recording.sampleRate / kWindowsPerSecond) {}

bool ToneModel::lock(std::size_t begin, std::size_t end) {
    std::vector<std::vector<ToneFit>> windows;
    for (std::size_t frame = begin; frame + m_fitter.frames() <= end; frame += m_fitter.frames()) {
        windows.push_back(fit(frame));
        if (std::none_of(windows.back().begin(), windows.back().end(), holdsTones))
            windows.clear();
        if (windows.size() == kLockWindows) {
            m_reference = frame - (kLockWindows - 1) * m_fitter.frames();
            m_known = m_reference;
            learn(windows);
            return true;
        }
    }
    return false;
}

void ToneModel::learn(const std::vector<std::vector<ToneFit>>& windows) {
    for (std::size_t number = 0; number < m_recording.channels; ++number) {
        if (!holdsTones(windows.front()[number]))
            continue;
        Channel channel{number, windows.front()[number].tones, windows.front()[number].offset};
        std::vector<double> residuals;
        residuals.reserve(windows.size());
        for (const auto& window : windows)
            residuals.push_back(window[number].residual);
        channel.noise = median(residuals);
        channel.threshold = std::max(kDepartureNoise * channel.noise, kDepartureLevel * level(channel.tones));
        m_channels.push_back(std::move(channel));
    }
    // The middle of all steps: frames that were lost meanwhile are no drift.
    std::vector<double> delays;
    std::vector<double> steps;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const double previous = delays.empty() ? 0 : delays.back();
        delays.push_back(previous + fineDelay(windows[i], m_reference + i * m_fitter.frames(), previous));
        if (i > 0)
            steps.push_back(delays[i] - previous);
    }
    m_drift = median(steps) / static_cast<double>(m_fitter.frames());
}

std::vector<ToneFit> ToneModel::fit(std::size_t frame) const {
    std::vector<ToneFit> fits;
    const std::span samples = std::span(m_recording.samples).subspan(frame * m_recording.channels);
    for (std::size_t channel = 0; channel < m_recording.channels; ++channel)
        fits.push_back(m_fitter.fit(samples.subspan(channel), m_recording.channels));
    return fits;
}

bool ToneModel::isClean(const std::vector<ToneFit>& fits) const {
    return std::all_of(m_channels.begin(), m_channels.end(), [&fits](const Channel& channel) {
        const ToneFit& fit = fits[channel.number];
        const double wanted = level(channel.tones);
        return fit.residual < std::max(kCleanNoise * channel.noise, kCleanLevel * wanted) &&
               level(fit.tones) > wanted / 2 && level(fit.tones) < wanted * 2;
    });
}

double ToneModel::delayAt(std::size_t frame) const {
    return m_delay + m_drift * (static_cast<double>(frame) - static_cast<double>(m_known));
}

Phasor ToneModel::expected(const Channel& channel, std::size_t tone, double frame, double delay) const {
    const double turns =
        m_fitter.frequencies()[tone] * (frame - static_cast<double>(m_reference) - delay) / m_recording.sampleRate;
    return channel.tones[tone] * std::polar(1.0, kTurn * std::remainder(turns, 1.0));
}

bool ToneModel::departs(std::size_t frame, double moved) const {
    const double delay = delayAt(frame) + moved;
    return std::any_of(m_channels.begin(), m_channels.end(), [&](const Channel& channel) {
        auto rest = static_cast<double>(m_recording.samples[frame * m_recording.channels + channel.number]);
        rest -= channel.offset;
        for (std::size_t tone = 0; tone < channel.tones.size(); ++tone)
            rest -= expected(channel, tone, static_cast<double>(frame), delay).real();
        return std::abs(rest) > channel.threshold;
    });
}

std::optional<std::size_t> ToneModel::firstDeparture(std::size_t begin, std::size_t end, double moved) const {
    for (std::size_t frame = begin; frame < end; ++frame)
        if (departs(frame, moved))
            return frame;
    return std::nullopt;
}

std::vector<ToneModel::PhaseError> ToneModel::phaseErrors(const std::vector<ToneFit>& fits, std::size_t frame,
                                                          double delay) const {
    double strongest = 0;
    for (const Channel& channel : m_channels)
        for (const Phasor& tone : channel.tones)
            strongest = std::max(strongest, std::abs(tone));
    std::vector<PhaseError> errors;
    for (const Channel& channel : m_channels)
        for (std::size_t tone = 0; tone < channel.tones.size(); ++tone) {
            const double amplitude = std::abs(channel.tones[tone]);
            if (amplitude < kCrosstalk * strongest)
                continue;
            const Phasor wanted = expected(channel, tone, static_cast<double>(frame), delay);
            const double noise = channel.noise / amplitude / std::sqrt(static_cast<double>(m_fitter.frames()));
            errors.push_back({kTurn * m_fitter.frequencies()[tone] / m_recording.sampleRate,
                              std::arg(fits[channel.number].tones[tone] * std::conj(wanted)), amplitude,
                              kPhaseTolerance + 3 * noise});
        }
    return errors;
}

double ToneModel::fineDelay(const std::vector<ToneFit>& fits, std::size_t frame, double delay) const {
    double late = 0;
    double weights = 0;
    for (const PhaseError& error : phaseErrors(fits, frame, delay)) {
        const double weight = error.amplitude * error.amplitude * error.radiansPerFrame;
        late -= weight * error.radians;
        weights += weight * error.radiansPerFrame;
    }
    return weights > 0 ? late / weights : 0;
}

double ToneModel::movedFrames(const std::vector<ToneFit>& fits, std::size_t frame, std::size_t spoilt) const {
    const double delay = delayAt(frame);
    const std::vector<PhaseError> errors = phaseErrors(fits, frame, delay);
    const auto unlikeliness = [&errors](std::ptrdiff_t moved) {
        double worst = 0;
        for (const PhaseError& error : errors) {
            const double rest =
                std::remainder(error.radians + error.radiansPerFrame * static_cast<double>(moved), kTurn);
            worst = std::max(worst, std::abs(rest) / error.tolerance);
        }
        return worst;
    };
    // Nothing moved, and as much came in as is spoilt, are the likely cases.
    std::ptrdiff_t best = 0;
    double least = unlikeliness(0);
    const double likely = kLikelySeconds * m_recording.sampleRate;
    const auto farthest = static_cast<std::ptrdiff_t>(kMaxMoveSeconds * m_recording.sampleRate);
    for (const std::ptrdiff_t centre : {std::ptrdiff_t{0}, static_cast<std::ptrdiff_t>(spoilt)})
        for (std::ptrdiff_t away = 0; away <= farthest && static_cast<double>(away) / likely < least; ++away)
            for (const std::ptrdiff_t moved : {centre - away, centre + away}) {
                const double unlikely = unlikeliness(moved) + static_cast<double>(away) / likely;
                if (unlikely < least) {
                    least = unlikely;
                    best = moved;
                }
            }
    return static_cast<double>(best) + fineDelay(fits, frame, delay + static_cast<double>(best));
}

void ToneModel::update(std::size_t frame) {
    const std::vector<ToneFit> fits = fit(frame);
    const double late = fineDelay(fits, frame, delayAt(frame));
    m_delay = delayAt(frame) + kDelayShare * late;
    m_drift += kDriftShare * late / static_cast<double>(m_fitter.frames());
    m_known = frame;
    for (Channel& channel : m_channels)
        for (std::size_t tone = 0; tone < channel.tones.size(); ++tone)
            if (const double amplitude = std::abs(channel.tones[tone]); amplitude > 0)
                channel.tones[tone] *= 1 + kLevelShare * (std::abs(fits[channel.number].tones[tone]) / amplitude - 1);
}

void ToneModel::move(std::size_t frame, double frames) {
    m_delay = delayAt(frame) + frames;
    m_known = frame;
}

std::vector<std::vector<Phasor>> ToneModel::tones() const {
    std::vector<std::vector<Phasor>> tones(m_recording.channels, std::vector<Phasor>(m_fitter.frequencies().size()));
    for (const Channel& channel : m_channels)
        tones[channel.number] = channel.tones;
    return tones;
}

} // namespace soundcheck
