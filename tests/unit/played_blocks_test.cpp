#include "devices/played_blocks.h"

#include <gtest/gtest.h>

namespace directsound {
namespace {

std::unique_ptr<PlayedBlock> block(std::uint32_t number) {
    return std::make_unique<PlayedBlock>(4, number, 2);
}

TEST(PlayedBlocks, TakeBeyond_AtTheDepth_Nothing) {
    PlayedBlockQueue queue;
    queue.append(block(1), 10);
    queue.append(block(2), 10);
    EXPECT_EQ(queue.takeBeyond(2), nullptr);
}

TEST(PlayedBlocks, TakeBeyond_OverTheDepth_Oldest) {
    PlayedBlockQueue queue;
    for (std::uint32_t number = 1; number <= 3; ++number)
        queue.append(block(number), 10);
    const auto taken = queue.takeBeyond(2);
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(taken->frameCount, 1U);
    EXPECT_EQ(queue.takeBeyond(2), nullptr);
    EXPECT_EQ(queue.takeBeyond(0)->frameCount, 2U);
}

TEST(PlayedBlocks, Append_OverTheLimit_OldestDropped) {
    PlayedBlockQueue queue;
    for (std::uint32_t number = 1; number <= 12; ++number)
        queue.append(block(number), 10);
    for (std::uint32_t number = 3; number <= 12; ++number)
        EXPECT_EQ(queue.takeBeyond(0)->frameCount, number);
    EXPECT_EQ(queue.takeBeyond(0), nullptr);
}

TEST(PlayedBlocks, Block_Allocated_KeepsItsFormat) {
    const PlayedBlock played(3840, 960, 2);
    EXPECT_NE(played.samples, nullptr);
    EXPECT_EQ(played.frameCount, 960U);
    EXPECT_EQ(played.channelCount, 2U);
}

} // namespace
} // namespace directsound
