#include "streams/playback_stream.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

/** Two seconds: more than any disk keeps a reader waiting. */
constexpr std::size_t kQueuedBlocks = std::size_t{2} * kBlocksPerSecond;

/** Between two looks at a full queue; short against what the queue holds. */
constexpr auto kFeederPause = 10ms;

} // namespace

PlaybackStream::PlaybackStream(ConvertedWav wav, const DeviceFormat& format)
    : m_channels(format.channels), m_framesTotal(wav.frames()), m_queue(kQueuedBlocks, format.bytesPerBlock()) {
    m_feeder = std::jthread(
        [this, source = std::move(wav)](const std::stop_token& stop) mutable { feed(stop, std::move(source)); });
    while (m_queue.size() < m_queue.capacity() && !m_fed.load(std::memory_order_acquire))
        std::this_thread::sleep_for(1ms);
}

void PlaybackStream::feed(const std::stop_token& stop, ConvertedWav wav) {
    try {
        bool more = true;
        while (more && !stop.stop_requested()) {
            const std::span<std::byte> slot = m_queue.back();
            if (slot.empty())
                std::this_thread::sleep_for(kFeederPause);
            else
                more = feedBlock(wav, slot);
        }
    } catch (const std::exception& error) {
        m_failure = error.what();
    }
    m_fed.store(true, std::memory_order_release);
}

bool PlaybackStream::feedBlock(ConvertedWav& wav, std::span<std::byte> slot) {
    const std::span samples(reinterpret_cast<std::int16_t*>(slot.data()), slot.size() / sizeof(std::int16_t));
    const std::size_t frames = wav.read(samples);
    if (frames > 0)
        m_queue.push(frames * m_channels * sizeof(std::int16_t));
    return frames == samples.size() / m_channels;
}

std::int32_t PlaybackStream::fill(const AudioBlock& block) {
    m_clock.tick();
    if (ended())
        return 0;                                           // silence, until the client stops the device
    const bool fed = m_fed.load(std::memory_order_acquire); // before the queue is looked at: its last block counts
    const std::span<const std::byte> bytes = m_queue.front();
    if (bytes.empty()) {
        if (fed)
            m_blocksAtEnd.store(m_clock.blocks(), std::memory_order_release);
        else
            m_underruns.fetch_add(1, std::memory_order_relaxed);
        return 0;
    }
    const std::size_t room = static_cast<std::size_t>(block.frameCount) * m_channels * sizeof(std::int16_t);
    const std::size_t count = std::min(bytes.size(), room);
    std::memcpy(block.samples, bytes.data(), count);
    m_queue.pop();
    const std::span written(block.samples, count / sizeof(std::int16_t));
    m_meter.add(written);
    const std::size_t frames = written.size() / m_channels;
    m_framesDelivered.fetch_add(frames, std::memory_order_relaxed);
    return static_cast<std::int32_t>(frames);
}

bool PlaybackStream::drained(std::uint64_t blocks) const {
    const std::uint64_t atEnd = m_blocksAtEnd.load(std::memory_order_acquire);
    return atEnd != 0 && m_clock.blocks() >= atEnd + blocks;
}

} // namespace soundcheck
