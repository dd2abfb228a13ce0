/**
 * @file
 * What is sent through a loopback: three marks, one sine per channel, a pause, and a sweep of marks. A mark is a pair
 * of short impulses on all channels; no two pairs are equally far apart, so that each is known by itself, whatever was
 * lost before it. The marks tell the delay; the sines, whose phases are followed, tell every frame that is lost or
 * too many in between.
 *
 * A pure function of frame and channel at any rate: played at one rate, it is expected back at the other device's.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace soundcheck {

class ProbeSignal {
public:
    static constexpr double kToneAmplitude = 0.25; ///< of all sines of a channel together
    static constexpr double kMarkAmplitude = 0.8;
    static constexpr double kImpulseSeconds = 1.0 / 3000; ///< width of a raised cosine
    static constexpr std::size_t kMarksBefore = 3;
    static constexpr std::size_t kMarksBehind = 20;
    static constexpr std::size_t kMarks = kMarksBefore + kMarksBehind;

    ProbeSignal(std::uint32_t channels, std::uint32_t sampleRate, double toneSeconds);

    /** The same signal at another rate. */
    ProbeSignal atRate(std::uint32_t sampleRate) const { return {m_channels, sampleRate, m_toneSeconds}; }

    /** -1 ... 1; silence behind the end. */
    double sample(std::uint64_t frame, std::uint32_t channel) const;

    std::uint64_t frames() const;
    std::uint32_t channels() const { return m_channels; }
    std::uint32_t sampleRate() const { return m_sampleRate; }

    /** One sine per channel; two for a mono signal, since one alone cannot tell how many frames are lost. */
    std::size_t toneCount() const;
    static double frequencyOf(std::size_t tone);
    /** The channel that a sine is played on. */
    std::uint32_t channelOf(std::size_t tone) const { return static_cast<std::uint32_t>(tone % m_channels); }
    double amplitudeOf(std::size_t tone) const;

    /** Places in frames; the sines fade in and out within them. */
    double toneBegin() const;
    double toneEnd() const;
    /** Where the first impulse of a mark has its peak. */
    double markAt(std::size_t mark) const;

    /** Between the two impulses of a mark. */
    static constexpr double markSpacingSeconds(std::size_t mark) {
        return kFirstSpacingSeconds + kSpacingStepSeconds * static_cast<double>(mark);
    }
    static constexpr double kFirstSpacingSeconds = 0.003;
    static constexpr double kSpacingStepSeconds = 0.0005;
    static constexpr double kMarkDistanceSeconds = 0.107; ///< no multiple of a block: the marks meet all of its parts

private:
    double markSeconds(std::size_t mark) const;
    double toneSample(double since, std::uint32_t channel) const;

    std::uint32_t m_channels;
    std::uint32_t m_sampleRate;
    double m_toneSeconds;
};

} // namespace soundcheck
