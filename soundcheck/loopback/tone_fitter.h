/**
 * @file
 * Amplitudes and phases of known frequencies in a short stretch of one channel, by least squares: unlike filters, it
 * keeps the frequencies apart exactly, however short the stretch. Pure; what depends on the frequencies is computed
 * once.
 */
#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

namespace soundcheck {

/** Amplitude, and phase of a cosine at the first frame. */
using Phasor = std::complex<double>;

struct ToneFit {
    std::vector<Phasor> tones;
    double offset = 0;
    double residual = 0; ///< effective value of what is no tone and no offset
};

class ToneFitter {
public:
    /** @param frames length of a stretch */
    ToneFitter(std::vector<double> frequencies, double sampleRate, std::size_t frames);

    std::size_t frames() const { return m_frames; }
    const std::vector<double>& frequencies() const { return m_frequencies; }

    /** Fits the first `frames` of the samples that stand `stride` apart. */
    ToneFit fit(std::span<const float> samples, std::size_t stride) const;

private:
    std::size_t terms() const { return 2 * m_frequencies.size() + 1; }

    std::vector<double> m_frequencies;
    std::size_t m_frames;
    std::vector<double> m_basis;   ///< per frame: cosine and negative sine of each tone, and 1
    std::vector<double> m_inverse; ///< per frame: the share of a sample in each coefficient
};

} // namespace soundcheck
