#include "loopback/loop_streams.h"

#include "audio/sample_format.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <iterator>

namespace soundcheck {

ProbePlayer::ProbePlayer(const ProbeSignal& probe) : m_channels(probe.channels()) {
    m_samples.reserve(probe.frames() * m_channels);
    for (std::uint64_t frame = 0; frame < probe.frames(); ++frame)
        for (std::uint32_t channel = 0; channel < m_channels; ++channel)
            m_samples.push_back(toSigned16(static_cast<float>(probe.sample(frame, channel))));
    const std::uint64_t block = probe.sampleRate() / kBlocksPerSecond;
    m_blocksTotal = (probe.frames() + block - 1) / block;
    m_times.reserve(m_blocksTotal);
}

std::int32_t ProbePlayer::fill(const AudioBlock& block) {
    m_clock.tick();
    const std::size_t next = m_next.load(std::memory_order_relaxed);
    if (next == m_samples.size() || m_times.size() == m_blocksTotal)
        return 0;
    m_times.push_back(BlockClock::Clock::now());
    const std::size_t count =
        std::min(m_samples.size() - next, static_cast<std::size_t>(block.frameCount) * m_channels);
    std::copy_n(m_samples.begin() + static_cast<std::ptrdiff_t>(next), count, block.samples);
    m_next.store(next + count, std::memory_order_relaxed);
    return static_cast<std::int32_t>(count / m_channels);
}

LoopRecorder::LoopRecorder(const DeviceFormat& format, double maxSeconds) : m_format(format) {
    const auto blocks = static_cast<std::size_t>(maxSeconds * kBlocksPerSecond);
    m_bytes.resize(blocks * format.bytesPerBlock());
    m_times.reserve(blocks);
}

void LoopRecorder::take(const AudioBlock& captured, const AudioBlock* /*reference*/) {
    m_clock.tick();
    const std::size_t bytes = static_cast<std::size_t>(captured.frameCount) * m_format.bytesPerFrame();
    const std::size_t used = m_used.load(std::memory_order_relaxed);
    if (bytes > m_bytes.size() - used || m_times.size() == m_times.capacity())
        return;
    m_times.push_back(BlockClock::Clock::now());
    std::memcpy(m_bytes.data() + used, captured.samples, bytes);
    m_used.store(used + bytes, std::memory_order_relaxed);
}

LoopRecording LoopRecorder::recording(const ProbePlayer& player) const {
    LoopRecording recording;
    recording.channels = m_format.channels;
    recording.sampleRate = m_format.sampleRate;
    recording.samples.resize(bytes().size() * 8 / m_format.bitsPerSample);
    decodeSamples(m_format.bitsPerSample == 8 ? SampleEncoding::Unsigned8 : SampleEncoding::Signed16, bytes(),
                  recording.samples);
    if (m_times.empty())
        return recording;
    const auto seconds = [this](BlockClock::Clock::time_point time) {
        return std::chrono::duration<double>(time - m_times.front()).count();
    };
    std::transform(m_times.begin(), m_times.end(), std::back_inserter(recording.capturedSeconds), seconds);
    std::transform(player.times().begin(), player.times().end(), std::back_inserter(recording.playedSeconds),
                   seconds);
    return recording;
}

} // namespace soundcheck
