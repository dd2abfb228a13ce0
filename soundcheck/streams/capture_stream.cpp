#include "streams/capture_stream.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

/** Ten seconds: a disk that wakes up, or a virus scanner, may take some. */
constexpr std::size_t kQueuedBlocks = std::size_t{10} * kBlocksPerSecond;

/** Between two looks at an empty queue. */
constexpr auto kWriterPause = 10ms;

std::size_t echoBytes(const std::optional<EchoOutput>& echo) {
    return echo ? echo->bytesPerFrame * echo->framesPerBlock : 0;
}

} // namespace

CaptureStream::CaptureStream(WavWriter file, const DeviceFormat& format, std::optional<EchoOutput> echo,
                             std::uint64_t maxBlocks)
    : m_format(format), m_file(std::move(file)), m_echo(std::move(echo)), m_maxBlocks(maxBlocks),
      m_queue(kQueuedBlocks, format.bytesPerBlock() + echoBytes(m_echo)) {
    m_writer = std::jthread([this](const std::stop_token& stop) { writeQueued(stop); });
}

void CaptureStream::take(const AudioBlock& captured, const AudioBlock* reference) {
    m_clock.tick();
    if (complete())
        return;
    if (reference != nullptr)
        m_withReference.fetch_add(1, std::memory_order_relaxed);
    m_recorded.fetch_add(1, std::memory_order_relaxed);

    const std::size_t bytes = static_cast<std::size_t>(captured.frameCount) * m_format.bytesPerFrame();
    const std::span source(reinterpret_cast<const std::byte*>(captured.samples), bytes);
    m_meter.add(source, m_format.bitsPerSample);
    const std::span<std::byte> slot = m_queue.back();
    if (slot.empty() || bytes != m_format.bytesPerBlock()) {
        m_dropped.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    std::memcpy(slot.data(), source.data(), bytes);
    if (m_echo)
        putReference(slot.subspan(bytes), reference);
    m_queue.push(slot.size());
}

void CaptureStream::putReference(std::span<std::byte> room, const AudioBlock* reference) {
    std::size_t bytes = 0;
    if (reference != nullptr) {
        if (reference->frameCount != static_cast<std::int32_t>(m_echo->framesPerBlock))
            m_oddReferences.fetch_add(1, std::memory_order_relaxed);
        bytes = std::min(room.size(), static_cast<std::size_t>(reference->frameCount) * m_echo->bytesPerFrame);
        std::memcpy(room.data(), reference->samples, bytes);
    }
    std::fill(room.begin() + static_cast<std::ptrdiff_t>(bytes), room.end(), std::byte{0});
}

void CaptureStream::writeQueued(const std::stop_token& stop) {
    try {
        for (;;) {
            const bool last = stop.stop_requested(); // before the queue is looked at: what came before is written
            const std::span<const std::byte> block = m_queue.front();
            if (!block.empty()) {
                writeBlock(block);
                m_queue.pop();
            } else if (last) {
                break;
            } else {
                std::this_thread::sleep_for(kWriterPause);
            }
        }
        m_file.finish();
        if (m_echo)
            m_echo->file.finish();
    } catch (const std::exception& error) {
        m_failure = error.what();
        m_failed.store(true, std::memory_order_release);
    }
}

void CaptureStream::writeBlock(std::span<const std::byte> block) {
    m_file.write(block.first(m_format.bytesPerBlock()));
    if (m_echo)
        m_echo->file.write(block.subspan(m_format.bytesPerBlock()));
    m_framesWritten.fetch_add(m_format.framesPerBlock(), std::memory_order_relaxed);
}

void CaptureStream::finish() {
    if (!m_writer.joinable())
        return;
    m_writer.request_stop();
    m_writer.join();
}

} // namespace soundcheck
