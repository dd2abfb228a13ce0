#pragma once

#include "platform/critical_section.h"
#include "platform/memory.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

namespace directsound {

/// One 20 ms block of played audio, kept as an echo reference. Owned by whoever holds it.
struct PlayedBlock {
    /// Allocates the samples; throws std::bad_alloc.
    PlayedBlock(std::uint32_t bytes, std::uint32_t frames, std::uint32_t channels);

    UniqueMalloc<std::int16_t> samples;
    std::uint32_t frameCount;
    std::uint32_t channelCount;
};

/// Played blocks in the order in which they were played. Filled by a playback loop, drawn from by capture loops.
class PlayedBlockQueue {
public:
    /// Appends a block, then drops the oldest ones until `limit` are left.
    void append(std::unique_ptr<PlayedBlock> block, std::size_t limit);

    /// Takes the oldest block when there are more than `depth`; null otherwise.
    [[nodiscard]] std::unique_ptr<PlayedBlock> takeBeyond(std::size_t depth);

private:
    CriticalSection m_PlayedBlocksLock;
    std::list<std::unique_ptr<PlayedBlock>> m_PlayedBlocks; ///< Guarded by m_PlayedBlocksLock.
};

/// Where a capture loop finds the echo reference.
class PlayedBlockSource {
public:
    virtual ~PlayedBlockSource() = default;

    /// The oldest played block of an open playback device once its queue is deep enough; null when there is none.
    /// Any thread. Never waits for client code or for a device.
    [[nodiscard]] virtual std::unique_ptr<PlayedBlock> takePlayedBlock(const std::string& playbackDeviceId) = 0;

protected:
    PlayedBlockSource() = default;
    PlayedBlockSource(const PlayedBlockSource&) = default;
    PlayedBlockSource& operator=(const PlayedBlockSource&) = default;
};

} // namespace directsound
