/**
 * @file
 * Captured blocks on their way to WAV files: the audio callback puts them into a bounded queue, a writer thread
 * writes. With an echo file every captured block appends its own 20 ms to it, the reference or silence, so that
 * both files stay aligned from the first sample to the last.
 *
 * Thread: `take` on the audio thread; the rest on the client's. Ownership: outlives the callbacks, that is, the
 * Backend. Failure: a write error ends the writing and is kept in `failure`; what was written stays readable.
 */
#pragma once

#include "audio/level_meter.h"
#include "audio/wav_writer.h"
#include "client/device.h"
#include "orvosoundbackend.h"
#include "streams/block_clock.h"
#include "streams/block_queue.h"
#include "streams/block_streams.h"

#include <atomic>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <thread>

namespace soundcheck {

/** Where the echo reference goes, and in which format it comes. */
struct EchoOutput {
    WavWriter file;
    std::size_t bytesPerFrame = 0;
    std::uint32_t framesPerBlock = 0;
};

class CaptureStream final : public BlockSink {
public:
    static constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

    /** @param maxBlocks what comes after them is not recorded */
    CaptureStream(WavWriter file, const DeviceFormat& format, std::optional<EchoOutput> echo = std::nullopt,
                  std::uint64_t maxBlocks = kNoLimit);

    void take(const AudioBlock& captured, const AudioBlock* reference) override;

    /** Writes what is queued, brings the headers up to date and ends the writer. After the last callback. */
    void finish();

    bool complete() const { return m_recorded.load(std::memory_order_relaxed) >= m_maxBlocks; }
    /** The writer has met an error; see `failure`. */
    bool failed() const { return m_failed.load(std::memory_order_acquire); }
    /** The sentence of a write error; empty when there was none. Only after `failed` or `finish`. */
    const std::string& failure() const { return m_failure; }

    const BlockClock& clock() const { return m_clock; }
    LevelMeter& meter() { return m_meter; }
    std::uint64_t framesWritten() const { return m_framesWritten.load(std::memory_order_relaxed); }
    std::uint64_t droppedBlocks() const { return m_dropped.load(std::memory_order_relaxed); }
    std::uint64_t blocksWithReference() const { return m_withReference.load(std::memory_order_relaxed); }
    /** References whose length was not 20 ms at the announced rate. */
    std::uint64_t oddReferences() const { return m_oddReferences.load(std::memory_order_relaxed); }

private:
    void putReference(std::span<std::byte> room, const AudioBlock* reference);
    void writeQueued(const std::stop_token& stop);
    void writeBlock(std::span<const std::byte> block);

    DeviceFormat m_format;
    WavWriter m_file;
    std::optional<EchoOutput> m_echo;
    std::uint64_t m_maxBlocks;
    BlockQueue m_queue; ///< a block holds the captured bytes, then those of the reference
    BlockClock m_clock;
    LevelMeter m_meter;
    std::string m_failure; ///< written by the writer thread before m_failed
    std::atomic<bool> m_failed = false;
    std::atomic<std::uint64_t> m_recorded = 0;
    std::atomic<std::uint64_t> m_framesWritten = 0;
    std::atomic<std::uint64_t> m_dropped = 0;
    std::atomic<std::uint64_t> m_withReference = 0;
    std::atomic<std::uint64_t> m_oddReferences = 0;
    std::jthread m_writer; ///< last, so that it ends before what it uses
};

} // namespace soundcheck
