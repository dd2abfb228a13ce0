#include "correlation.h"

#include <fftw3.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <memory>
#include <span>

namespace judge {
namespace {

constexpr double kSilentEnergy = 1e-9; // of a whole pattern: less is not compared

double at(const Samples& samples, Lag index) {
    return index >= 0 && index < std::ssize(samples) ? samples[static_cast<std::size_t>(index)] : 0;
}

/// Linear cross-correlation by FFT: result[k] = sum over n of pattern[n] * text[n + k], for k up to the text's length.
class CrossCorrelator {
public:
    explicit CrossCorrelator(std::size_t length)
        : m_length(std::bit_ceil(length)), m_time(fftw_alloc_real(m_length)),
          m_frequency(fftw_alloc_complex(m_length / 2 + 1)) {
        const int size = static_cast<int>(m_length);
        m_forward = fftw_plan_dft_r2c_1d(size, m_time.get(), m_frequency.get(), FFTW_ESTIMATE);
        m_backward = fftw_plan_dft_c2r_1d(size, m_frequency.get(), m_time.get(), FFTW_ESTIMATE);
    }
    ~CrossCorrelator() {
        fftw_destroy_plan(m_forward);
        fftw_destroy_plan(m_backward);
    }
    CrossCorrelator(const CrossCorrelator&) = delete;
    CrossCorrelator& operator=(const CrossCorrelator&) = delete;

    Samples correlate(std::span<const double> pattern, std::span<const double> text) {
        const auto patternSpectrum = transform(pattern);
        const auto textSpectrum = transform(text);
        for (std::size_t i = 0; i < patternSpectrum.size(); ++i) {
            const std::complex<double> product = textSpectrum[i] * std::conj(patternSpectrum[i]);
            m_frequency[i][0] = product.real();
            m_frequency[i][1] = product.imag();
        }
        fftw_execute(m_backward);
        Samples result(m_time.get(), m_time.get() + text.size());
        for (double& value : result)
            value /= static_cast<double>(m_length);
        return result;
    }

private:
    struct Free {
        void operator()(void* memory) const { fftw_free(memory); }
    };

    std::vector<std::complex<double>> transform(std::span<const double> samples) {
        std::fill_n(m_time.get(), m_length, 0.0);
        std::copy(samples.begin(), samples.end(), m_time.get());
        fftw_execute(m_forward);
        std::vector<std::complex<double>> spectrum;
        for (std::size_t i = 0; i <= m_length / 2; ++i)
            spectrum.emplace_back(m_frequency[i][0], m_frequency[i][1]);
        return spectrum;
    }

    std::size_t m_length;
    std::unique_ptr<double[], Free> m_time;
    std::unique_ptr<fftw_complex[], Free> m_frequency;
    fftw_plan m_forward;
    fftw_plan m_backward;
};

/// Where between its neighbours the top of the parabola through three points lies.
double peakFraction(double before, double top, double after) {
    const double bend = before - 2 * top + after;
    return std::abs(bend) < 1e-12 ? 0 : std::clamp(0.5 * (before - after) / bend, -0.5, 0.5);
}

} // namespace

double likenessAt(const Samples& sound, std::size_t first, std::size_t count, const Samples& other, Lag lag) {
    double product = 0;
    double energy = 0;
    double otherEnergy = 0;
    for (std::size_t i = first; i < std::min(sound.size(), first + count); ++i) {
        const double there = at(other, static_cast<Lag>(i) + lag);
        product += sound[i] * there;
        energy += sound[i] * sound[i];
        otherEnergy += there * there;
    }
    return energy < kSilentEnergy || otherEnergy < kSilentEnergy ? 0 : product / std::sqrt(energy * otherEnergy);
}

Match bestMatch(const Samples& sound, std::size_t first, std::size_t count, const Samples& other, Lag lowest,
                Lag highest) {
    if (first >= sound.size() || highest < lowest)
        return {lowest, 0, 0};
    const std::span<const double> pattern = std::span(sound).subspan(first, std::min(count, sound.size() - first));
    const auto lags = static_cast<std::size_t>(highest - lowest + 1);
    Samples text(lags + pattern.size());
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = at(other, static_cast<Lag>(first + i) + lowest);

    CrossCorrelator correlator(text.size()); // long enough: the lags that wrap around are not looked at
    const Samples products = correlator.correlate(pattern, text);
    double patternEnergy = 0;
    double textEnergy = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        patternEnergy += pattern[i] * pattern[i];
        textEnergy += text[i] * text[i];
    }
    Samples likeness(lags);
    for (std::size_t k = 0; k < lags; ++k) {
        if (patternEnergy >= kSilentEnergy && textEnergy >= kSilentEnergy)
            likeness[k] = products[k] / std::sqrt(patternEnergy * textEnergy);
        textEnergy += text[k + pattern.size()] * text[k + pattern.size()] - text[k] * text[k];
    }
    const auto top = static_cast<std::size_t>(std::ranges::max_element(likeness) - likeness.begin());
    Match match{lowest + static_cast<Lag>(top), likeness[top], 0};
    if (top > 0 && top + 1 < lags)
        match.fraction = peakFraction(likeness[top - 1], likeness[top], likeness[top + 1]);
    return match;
}

Match bestMatch(const Samples& sound, const Samples& other) {
    return bestMatch(sound, 0, sound.size(), other, -std::ssize(sound) + 1, std::ssize(other) - 1);
}

} // namespace judge
