#include "loopback/tone_fitter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace soundcheck {
namespace {

/** Solves `matrix` * x = y for each frame's y in place. The matrix is symmetric and positive: no pivots are needed. */
void solve(std::vector<double> matrix, std::size_t size, std::vector<double>& rows) {
    for (std::size_t pivot = 0; pivot < size; ++pivot)
        for (std::size_t row = 0; row < size; ++row) {
            if (row == pivot)
                continue;
            const double factor = matrix[row * size + pivot] / matrix[pivot * size + pivot];
            for (std::size_t column = 0; column < size; ++column)
                matrix[row * size + column] -= factor * matrix[pivot * size + column];
            for (std::size_t start = 0; start < rows.size(); start += size)
                rows[start + row] -= factor * rows[start + pivot];
        }
    for (std::size_t start = 0; start < rows.size(); start += size)
        for (std::size_t row = 0; row < size; ++row)
            rows[start + row] /= matrix[row * size + row];
}

} // namespace

ToneFitter::ToneFitter(std::vector<double> frequencies, double sampleRate, std::size_t frames)
    : m_frequencies(std::move(frequencies)), m_frames(frames) {
    m_basis.reserve(frames * terms());
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (const double frequency : m_frequencies) {
            const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(frame) / sampleRate;
            m_basis.push_back(std::cos(phase));
            m_basis.push_back(-std::sin(phase));
        }
        m_basis.push_back(1);
    }
    std::vector<double> products(terms() * terms());
    for (std::size_t start = 0; start < m_basis.size(); start += terms())
        for (std::size_t row = 0; row < terms(); ++row)
            for (std::size_t column = 0; column < terms(); ++column)
                products[row * terms() + column] += m_basis[start + row] * m_basis[start + column];
    m_inverse = m_basis;
    solve(std::move(products), terms(), m_inverse);
}

ToneFit ToneFitter::fit(std::span<const float> samples, std::size_t stride) const {
    std::vector<double> coefficients(terms());
    for (std::size_t frame = 0; frame < m_frames; ++frame)
        for (std::size_t term = 0; term < terms(); ++term)
            coefficients[term] += m_inverse[frame * terms() + term] * static_cast<double>(samples[frame * stride]);

    double squares = 0;
    for (std::size_t frame = 0; frame < m_frames; ++frame) {
        auto rest = static_cast<double>(samples[frame * stride]);
        for (std::size_t term = 0; term < terms(); ++term)
            rest -= m_basis[frame * terms() + term] * coefficients[term];
        squares += rest * rest;
    }

    ToneFit result;
    result.offset = coefficients.back();
    result.residual = std::sqrt(squares / static_cast<double>(m_frames));
    for (std::size_t tone = 0; tone < m_frequencies.size(); ++tone)
        result.tones.emplace_back(coefficients[2 * tone], coefficients[2 * tone + 1]);
    return result;
}

} // namespace soundcheck
