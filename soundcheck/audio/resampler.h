/**
 * @file
 * Changes the sample rate of a stream by a windowed sinc: band-limited in both directions, so nothing of the
 * source folds back when the rate goes down. Any pair of rates; the position is kept in whole numbers, so a long
 * stream does not drift.
 *
 * Pure arithmetic, one thread at a time. The output is in step with the input (no delay to be cut off), and its
 * length is exact: outputFrames(input frames, ...).
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace soundcheck {

class Resampler {
public:
    Resampler(std::uint32_t channels, std::uint32_t inputRate, std::uint32_t outputRate);

    /** Takes interleaved frames and appends to `output` what can be computed from all input so far. */
    void process(std::span<const float> input, std::vector<float>& output);

    /** The input has ended: appends the rest. */
    void finish(std::vector<float>& output);

    /** Length of the output: every output frame whose time lies before the end of the input. */
    static std::uint64_t outputFrames(std::uint64_t inputFrames, std::uint32_t inputRate, std::uint32_t outputRate);

private:
    void produce(std::uint64_t upTo, std::vector<float>& output);
    void appendFrame(std::vector<float>& output) const;
    void forgetOldInput();

    std::uint32_t m_channels;
    std::uint32_t m_inputRate;
    std::uint32_t m_outputRate;
    double m_scale;      ///< kernel positions per input frame: below 1 where the band must become narrower
    std::size_t m_reach; ///< input frames on each side that the kernel covers

    std::vector<float> m_history;     ///< interleaved input that is still needed
    std::uint64_t m_historyStart = 0; ///< number of the input frame at its front, counted with the lead-in
    std::uint64_t m_inputFrames = 0;  ///< frames taken
    std::uint64_t m_outputFrames = 0; ///< frames given
};

} // namespace soundcheck
