/**
 * @file
 * A WAV file on its way to a playback device: a feeder thread decodes into a bounded queue, the audio callback
 * takes from it and never touches a file.
 *
 * Thread: `fill` on the audio thread; the rest on the client's. Ownership: outlives the callbacks, that is, the
 * Backend. Failure: a read error ends the feeding and is kept in `failure`.
 */
#pragma once

#include "audio/converted_wav.h"
#include "audio/level_meter.h"
#include "client/device.h"
#include "orvosoundbackend.h"
#include "streams/block_clock.h"
#include "streams/block_queue.h"
#include "streams/block_streams.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace soundcheck {

class PlaybackStream final : public BlockSource {
public:
    /** Starts the feeder and waits until the queue is full or the file has ended. */
    PlaybackStream(ConvertedWav wav, const DeviceFormat& format);

    std::int32_t fill(const AudioBlock& block) override;

    /** The device has been asked for `blocks` more blocks since the last sample was handed over. */
    bool drained(std::uint64_t blocks) const;
    /** All samples have been handed over. */
    bool ended() const { return m_blocksAtEnd.load(std::memory_order_acquire) != 0; }

    const BlockClock& clock() const { return m_clock; }
    LevelMeter& meter() { return m_meter; }
    std::uint64_t framesTotal() const { return m_framesTotal; }
    std::uint64_t framesDelivered() const { return m_framesDelivered.load(std::memory_order_relaxed); }
    /** Blocks that were asked for while the file had not ended, and that the feeder did not have ready. */
    std::uint64_t underruns() const { return m_underruns.load(std::memory_order_relaxed); }
    /** The sentence of a read error; empty when there was none until now. */
    std::string failure() const { return m_fed.load(std::memory_order_acquire) ? m_failure : std::string(); }

private:
    void feed(const std::stop_token& stop, ConvertedWav wav);
    bool feedBlock(ConvertedWav& wav, std::span<std::byte> slot);

    std::uint32_t m_channels;
    std::uint64_t m_framesTotal;
    BlockQueue m_queue;
    BlockClock m_clock;
    LevelMeter m_meter;
    std::string m_failure; ///< written by the feeder before m_fed
    std::atomic<bool> m_fed = false;
    std::atomic<std::uint64_t> m_framesDelivered = 0;
    std::atomic<std::uint64_t> m_underruns = 0;
    std::atomic<std::uint64_t> m_blocksAtEnd = 0; ///< 0: not ended
    std::jthread m_feeder;                        ///< last, so that it ends before what it uses
};

} // namespace soundcheck
