#include "audio/converted_wav.h"

#include <algorithm>
#include <utility>

namespace soundcheck {
namespace {

constexpr std::size_t kFramesPerRead = 4096;

} // namespace

ConvertedWav::ConvertedWav(WavReader reader, std::uint32_t channels, std::uint32_t sampleRate,
                           std::uint64_t maxFrames)
    : m_reader(std::move(reader)), m_channels(channels), m_channelMap(m_reader.format().channels, channels),
      m_resampler(channels, m_reader.format().sampleRate, sampleRate),
      m_frames(
          std::min(maxFrames, Resampler::outputFrames(m_reader.frames(), m_reader.format().sampleRate, sampleRate))),
      m_bytes(kFramesPerRead * m_reader.format().bytesPerFrame),
      m_decoded(kFramesPerRead * m_reader.format().channels) {}

std::size_t ConvertedWav::read(std::span<std::int16_t> samples) {
    const std::uint64_t wanted = std::min<std::uint64_t>(samples.size() / m_channels, m_frames - m_framesGiven);
    const auto wantedSamples = static_cast<std::size_t>(wanted * m_channels);
    while (m_ready.size() - m_readyStart < wantedSamples && !m_atEnd)
        convertMore();
    const std::size_t count = std::min(wantedSamples, m_ready.size() - m_readyStart);
    std::transform(m_ready.begin() + static_cast<std::ptrdiff_t>(m_readyStart),
                   m_ready.begin() + static_cast<std::ptrdiff_t>(m_readyStart + count), samples.begin(), toSigned16);
    m_readyStart += count;
    m_framesGiven += count / m_channels;
    return count / m_channels;
}

void ConvertedWav::convertMore() {
    m_ready.erase(m_ready.begin(), m_ready.begin() + static_cast<std::ptrdiff_t>(m_readyStart));
    m_readyStart = 0;
    const std::size_t bytes = m_reader.read(m_bytes);
    if (bytes == 0) {
        m_resampler.finish(m_ready);
        m_atEnd = true;
        return;
    }
    const SampleFormat& format = m_reader.format();
    const std::size_t samples = bytes / format.bytesPerFrame * format.channels;
    decodeSamples(format.encoding, std::span(m_bytes).first(bytes), m_decoded);
    m_mapped.clear();
    m_channelMap.apply(std::span(m_decoded).first(samples), m_mapped);
    m_resampler.process(m_mapped, m_ready);
}

} // namespace soundcheck
