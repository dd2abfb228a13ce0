/**
 * @file
 * The two ends of a loopback: the probe on its way to the playback device, and what comes back, in memory, both with
 * the times of the callbacks. All memory is allocated at the start.
 *
 * Thread: `fill` and `take` on the audio threads, `clock` and the counts on any; the rest when no callback can come
 * any more.
 */
#pragma once

#include "client/device.h"
#include "loopback/loop_result.h"
#include "loopback/probe_signal.h"
#include "streams/block_clock.h"
#include "streams/block_streams.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace soundcheck {

class ProbePlayer final : public BlockSource {
public:
    explicit ProbePlayer(const ProbeSignal& probe);

    std::int32_t fill(const AudioBlock& block) override;

    const BlockClock& clock() const { return m_clock; }
    std::uint64_t framesTotal() const { return m_samples.size() / m_channels; }
    std::uint64_t framesDelivered() const { return m_next.load(std::memory_order_relaxed) / m_channels; }
    /** The device has been asked for `blocks` more blocks than the probe fills. */
    bool drained(std::uint64_t blocks) const { return m_clock.blocks() >= m_blocksTotal + blocks; }
    /** When each block of the probe was asked for. */
    const std::vector<BlockClock::Clock::time_point>& times() const { return m_times; }

private:
    std::uint32_t m_channels;
    std::vector<std::int16_t> m_samples;
    std::uint64_t m_blocksTotal;
    std::atomic<std::size_t> m_next = 0;
    std::vector<BlockClock::Clock::time_point> m_times;
    BlockClock m_clock;
};

class LoopRecorder final : public BlockSink {
public:
    LoopRecorder(const DeviceFormat& format, double maxSeconds);

    void take(const AudioBlock& captured, const AudioBlock* reference) override;

    const BlockClock& clock() const { return m_clock; }
    std::uint64_t frames() const { return m_used.load(std::memory_order_relaxed) / m_format.bytesPerFrame(); }
    bool full() const { return frames() + m_format.framesPerBlock() > m_bytes.size() / m_format.bytesPerFrame(); }
    /** As the device delivered it. */
    std::span<const std::byte> bytes() const { return std::span(m_bytes).first(m_used); }
    /** For the analysis; times count from the first captured block. */
    LoopRecording recording(const ProbePlayer& player) const;

private:
    DeviceFormat m_format;
    std::vector<std::byte> m_bytes;
    std::atomic<std::size_t> m_used = 0;
    std::vector<BlockClock::Clock::time_point> m_times;
    BlockClock m_clock;
};

} // namespace soundcheck
