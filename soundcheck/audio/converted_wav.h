/**
 * @file
 * A WAV file as a stream in a device's format: decoded, with the device's channels, at the device's rate, in 16
 * bits. Holds some thousand frames at a time, however long the file is.
 *
 * Thread: one at a time. Failure: AudioFileError while reading.
 */
#pragma once

#include "audio/channel_map.h"
#include "audio/resampler.h"
#include "audio/wav_reader.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace soundcheck {

class ConvertedWav {
public:
    static constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

    /** @param maxFrames of the output; the rest of the file is left out */
    ConvertedWav(WavReader reader, std::uint32_t channels, std::uint32_t sampleRate,
                 std::uint64_t maxFrames = kNoLimit);

    /** Frames that come altogether. */
    std::uint64_t frames() const { return m_frames; }

    /** Fills `samples` (whole frames, interleaved). @return frames written; fewer only at the end */
    std::size_t read(std::span<std::int16_t> samples);

private:
    void convertMore();

    WavReader m_reader;
    std::uint32_t m_channels;
    ChannelMap m_channelMap;
    Resampler m_resampler;
    std::uint64_t m_frames;
    std::uint64_t m_framesGiven = 0;
    bool m_atEnd = false;

    std::vector<std::byte> m_bytes;
    std::vector<float> m_decoded;
    std::vector<float> m_mapped;
    std::vector<float> m_ready; ///< converted samples, given away up to m_readyStart
    std::size_t m_readyStart = 0;
};

} // namespace soundcheck
