#include "devices/block_geometry.h"

#include <gtest/gtest.h>

namespace directsound {
namespace {

constexpr BlockGeometry kStereo48k = blockGeometry(48000, 4);

TEST(BlockGeometry, Sizes_48kHzStereo_OneSecondBuffer) {
    EXPECT_EQ(kStereo48k.framesPerBlock, 960U);
    EXPECT_EQ(kStereo48k.bytesPerBlock, 3840U);
    EXPECT_EQ(kStereo48k.bytesPerSecond, 192000U);
    EXPECT_EQ(kStereo48k.bytesPerBuffer(), 192000U);
}

TEST(BlockGeometry, Sizes_48kHzMono8Bit_48000Bytes) {
    EXPECT_EQ(blockGeometry(48000, 1).bytesPerBuffer(), 48000U);
}

TEST(BlockGeometry, Sizes_RateWithoutWholeFrames_Truncated) {
    const BlockGeometry geometry = blockGeometry(11025, 2);
    EXPECT_EQ(geometry.framesPerBlock, 220U);
    EXPECT_EQ(geometry.bytesPerBuffer(), 22000U);
}

TEST(BlockGeometry, Valid_EmptyBlock_False) {
    EXPECT_FALSE(blockGeometry(0, 4).valid());
    EXPECT_FALSE(blockGeometry(48000, 0).valid());
    EXPECT_FALSE(blockGeometry(49, 4).valid());
    EXPECT_FALSE(blockGeometry(131072, 32768).valid()) << "the bytes of a second overflow to 0";
    EXPECT_TRUE(blockGeometry(50, 4).valid());
}

TEST(BlockGeometry, BlockAt_EdgesOfEveryBlock_ItsIndex) {
    for (std::uint32_t block = 0; block < BLOCKS_PER_BUFFER; ++block) {
        EXPECT_EQ(blockAt(block * 3840, kStereo48k), block);
        EXPECT_EQ(blockAt(block * 3840 + 3839, kStereo48k), block);
    }
}

TEST(BlockGeometry, BlockDistance_AllPairs_StepsForward) {
    for (std::uint32_t from = 0; from < BLOCKS_PER_BUFFER; ++from) {
        std::uint32_t to = from;
        for (std::uint32_t steps = 0; steps < BLOCKS_PER_BUFFER; ++steps, to = nextBlock(to))
            ASSERT_EQ(blockDistance(from, to), steps) << from << " to " << to;
        ASSERT_EQ(to, from);
    }
}

TEST(BlockGeometry, NextBlock_LastBlock_First) {
    EXPECT_EQ(nextBlock(48), 49U);
    EXPECT_EQ(nextBlock(49), 0U);
}

TEST(BlockGeometry, PlaybackTarget_AllBlocks_OnePastTheCushion) {
    for (const std::uint32_t latency : {5U, 10U})
        for (std::uint32_t block = 0; block < BLOCKS_PER_BUFFER; ++block)
            ASSERT_EQ(blockDistance(block, playbackTarget(block * 3840 + 17, latency, kStereo48k)), latency + 1);
    EXPECT_EQ(playbackTarget(0, 5, kStereo48k), 6U);
    EXPECT_EQ(playbackTarget(49 * 3840, 5, kStereo48k), 5U);
}

TEST(BlockGeometry, MillisecondsIntoBlock_EveryByteOfABuffer_Truncated) {
    for (std::uint32_t position = 0; position < kStereo48k.bytesPerBuffer(); ++position)
        ASSERT_EQ(millisecondsIntoBlock(position, kStereo48k), position % 3840 / 192) << position;
}

TEST(BlockGeometry, PlaybackWait_OnBoundary_WholeBlock) {
    EXPECT_EQ(playbackWait(0, kStereo48k), 20U);
    EXPECT_EQ(playbackWait(7 * 3840, kStereo48k), 20U);
}

TEST(BlockGeometry, PlaybackWait_InsideBlock_TimePassedNotTimeLeft) {
    EXPECT_EQ(playbackWait(4, kStereo48k), 0U);
    EXPECT_EQ(playbackWait(5 * 192, kStereo48k), 5U);
    EXPECT_EQ(playbackWait(3 * 3840 + 19 * 192, kStereo48k), 19U);
}

TEST(BlockGeometry, PlaybackWait_WidestFormat_NoOverflow) {
    const BlockGeometry wide = blockGeometry(200000, 16);
    EXPECT_EQ(playbackWait(wide.bytesPerBlock - 1, wide), 19U);
}

} // namespace
} // namespace directsound
