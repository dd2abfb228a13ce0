#include "audio/resampler.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace soundcheck {
namespace {

constexpr int kZeroCrossings = 32;     // of the sinc on each side; more make the edge of the band steeper
constexpr int kStepsPerCrossing = 512; // of the table; between two steps the kernel is interpolated
constexpr double kKaiserBeta = 10.0;   // about 100 dB of stop band
constexpr double kPassBand = 0.90;     // of the lower Nyquist frequency; the rest is for the window's edge

double besselI0(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; term > sum * 1e-17; ++k) {
        term *= x / (2.0 * k) * (x / (2.0 * k));
        sum += term;
    }
    return sum;
}

/** One side of sinc(x) under a Kaiser window, and a zero behind the end for the interpolation. */
std::vector<float> makeKernel() {
    constexpr int kSteps = kZeroCrossings * kStepsPerCrossing;
    std::vector<float> kernel(kSteps + 2, 0.0F);
    for (int i = 0; i < kSteps; ++i) {
        const double x = static_cast<double>(i) / kStepsPerCrossing;
        const double angle = std::numbers::pi * x;
        const double sinc = i == 0 ? 1.0 : std::sin(angle) / angle;
        const double place = x / kZeroCrossings;
        const double window = besselI0(kKaiserBeta * std::sqrt(1.0 - place * place)) / besselI0(kKaiserBeta);
        kernel[static_cast<std::size_t>(i)] = static_cast<float>(sinc * window);
    }
    return kernel;
}

float kernelAt(double x) {
    static const std::vector<float> kernel = makeKernel();
    const double place = std::abs(x) * kStepsPerCrossing;
    const auto step = static_cast<std::size_t>(place);
    if (step >= kernel.size() - 1)
        return 0.0F;
    const auto between = static_cast<float>(place - static_cast<double>(step));
    return kernel[step] + (kernel[step + 1] - kernel[step]) * between;
}

} // namespace

Resampler::Resampler(std::uint32_t channels, std::uint32_t inputRate, std::uint32_t outputRate)
    : m_channels(channels), m_inputRate(inputRate), m_outputRate(outputRate),
      m_scale(kPassBand * std::min(1.0, static_cast<double>(outputRate) / inputRate)),
      m_reach(static_cast<std::size_t>(std::ceil(kZeroCrossings / m_scale))) {
    // Silence before the first frame, so that the kernel always finds its left side.
    m_history.assign(m_reach * m_channels, 0.0F);
}

std::uint64_t Resampler::outputFrames(std::uint64_t inputFrames, std::uint32_t inputRate, std::uint32_t outputRate) {
    return (inputFrames * outputRate + inputRate - 1) / inputRate;
}

void Resampler::process(std::span<const float> input, std::vector<float>& output) {
    m_inputFrames += input.size() / m_channels;
    if (m_inputRate == m_outputRate) { // nothing to compute, and the samples stay exactly as they are
        output.insert(output.end(), input.begin(), input.end());
        m_outputFrames = m_inputFrames;
        return;
    }
    m_history.insert(m_history.end(), input.begin(), input.end());
    // A frame can be computed once the kernel's right side is there.
    produce(m_inputFrames > m_reach ? m_inputFrames - m_reach : 0, output);
}

void Resampler::finish(std::vector<float>& output) {
    if (m_inputRate == m_outputRate)
        return;
    m_history.insert(m_history.end(), (m_reach + 1) * m_channels, 0.0F);
    produce(m_inputFrames, output);
}

/** Appends every output frame whose time lies before input frame `upTo`. */
void Resampler::produce(std::uint64_t upTo, std::vector<float>& output) {
    const std::uint64_t end = outputFrames(upTo, m_inputRate, m_outputRate);
    for (; m_outputFrames < end; ++m_outputFrames)
        appendFrame(output);
    forgetOldInput();
}

void Resampler::appendFrame(std::vector<float>& output) const {
    const std::uint64_t position = m_outputFrames * m_inputRate;
    const std::uint64_t whole = position / m_outputRate;
    const double fraction = static_cast<double>(position % m_outputRate) / m_outputRate;
    // With the lead-in, input frame n is frame n + m_reach; the kernel begins m_reach - 1 frames before.
    const auto first = static_cast<std::size_t>(whole + 1 - m_historyStart);
    const std::size_t place = output.size();
    output.resize(place + m_channels, 0.0F);
    for (std::size_t tap = 0; tap < 2 * m_reach; ++tap) {
        const double distance = static_cast<double>(tap) + 1.0 - static_cast<double>(m_reach) - fraction;
        const float weight = kernelAt(distance * m_scale);
        const float* frame = &m_history[(first + tap) * m_channels];
        for (std::size_t channel = 0; channel < m_channels; ++channel)
            output[place + channel] += frame[channel] * weight;
    }
    for (std::size_t channel = 0; channel < m_channels; ++channel)
        output[place + channel] *= static_cast<float>(m_scale);
}

void Resampler::forgetOldInput() {
    const std::uint64_t oldest = m_outputFrames * m_inputRate / m_outputRate;
    const std::uint64_t unneeded = oldest - m_historyStart;
    if (unneeded < m_reach) // not worth moving the rest
        return;
    m_history.erase(m_history.begin(), m_history.begin() + static_cast<std::ptrdiff_t>(unneeded * m_channels));
    m_historyStart = oldest;
}

} // namespace soundcheck
