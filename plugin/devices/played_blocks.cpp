#include "devices/played_blocks.h"

#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

namespace directsound {

PlayedBlock::PlayedBlock(std::uint32_t bytes, std::uint32_t frames, std::uint32_t channels)
    : samples(static_cast<std::int16_t*>(std::malloc(bytes))), frameCount(frames), channelCount(channels) {
    if (!samples)
        throw std::bad_alloc();
}

void PlayedBlockQueue::append(std::unique_ptr<PlayedBlock> block, std::size_t limit) {
    const std::lock_guard guard(m_PlayedBlocksLock);
    m_PlayedBlocks.push_back(std::move(block));
    while (m_PlayedBlocks.size() > limit)
        m_PlayedBlocks.pop_front();
}

std::unique_ptr<PlayedBlock> PlayedBlockQueue::takeBeyond(std::size_t depth) {
    const std::lock_guard guard(m_PlayedBlocksLock);
    if (m_PlayedBlocks.size() <= depth)
        return nullptr;
    std::unique_ptr<PlayedBlock> oldest = std::move(m_PlayedBlocks.front());
    m_PlayedBlocks.pop_front();
    return oldest;
}

} // namespace directsound
