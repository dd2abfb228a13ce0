#include "streams/block_clock.h"
#include "streams/block_queue.h"
#include "streams/stall_watch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

constexpr BlockClock::Clock::time_point kStart{1h};

TEST(BlockQueue, FullAndEmpty_AreTold) {
    BlockQueue queue(2, 8);
    EXPECT_TRUE(queue.front().empty());
    queue.back()[0] = std::byte{1};
    queue.push(8);
    queue.push(3);
    EXPECT_TRUE(queue.back().empty());
    ASSERT_EQ(queue.front().size(), 8U);
    EXPECT_EQ(queue.front()[0], std::byte{1});
    queue.pop();
    EXPECT_EQ(queue.front().size(), 3U);
    EXPECT_EQ(queue.back().size(), 8U);
}

TEST(BlockQueue, TwoThreads_EveryBlockArrivesOnceAndInOrder) {
    constexpr std::uint32_t kBlocks = 200000;
    BlockQueue queue(7, sizeof(std::uint32_t));
    std::jthread putter([&queue] {
        for (std::uint32_t number = 0; number < kBlocks;)
            if (const auto slot = queue.back(); !slot.empty()) {
                std::memcpy(slot.data(), &number, sizeof number);
                queue.push(slot.size());
                ++number;
            } else {
                std::this_thread::yield();
            }
    });
    for (std::uint32_t expected = 0; expected < kBlocks;)
        if (const auto slot = queue.front(); !slot.empty()) {
            std::uint32_t number = 0;
            std::memcpy(&number, slot.data(), sizeof number);
            ASSERT_EQ(number, expected);
            queue.pop();
            ++expected;
        } else {
            std::this_thread::yield();
        }
}

TEST(BlockClock, RateAndLongestGap) {
    BlockClock clock;
    EXPECT_EQ(clock.ratePercent(20), 0.0);
    clock.tick(kStart);
    EXPECT_EQ(clock.ratePercent(20), 0.0);
    clock.tick(kStart + 20ms);
    EXPECT_DOUBLE_EQ(clock.ratePercent(20), 100.0);
    clock.tick(kStart + 80ms);
    EXPECT_DOUBLE_EQ(clock.ratePercent(20), 50.0);
    EXPECT_DOUBLE_EQ(clock.longestGapMilliseconds(), 60.0);
    EXPECT_EQ(clock.blocks(), 3U);
}

TEST(StallWatch, FirstBlock_MayTakeLonger) {
    StallWatch watch(kStart);
    EXPECT_FALSE(watch.update(0, kStart + 2900ms));
    EXPECT_TRUE(watch.update(0, kStart + 3100ms));
}

TEST(StallWatch, RunningDevice_IsToldOncePerStall) {
    StallWatch watch(kStart);
    EXPECT_FALSE(watch.update(1, kStart + 100ms));
    EXPECT_FALSE(watch.update(1, kStart + 1100ms));
    EXPECT_TRUE(watch.update(1, kStart + 1150ms));
    EXPECT_FALSE(watch.update(1, kStart + 5s));
    EXPECT_FALSE(watch.update(2, kStart + 6s));
    EXPECT_TRUE(watch.update(2, kStart + 7100ms));
    EXPECT_EQ(watch.stalls(), 2);
}

TEST(StallWatch, TenSecondsWithoutABlock_AreGivenUp) {
    StallWatch watch(kStart);
    EXPECT_FALSE(watch.givenUp(kStart + 10s));
    EXPECT_TRUE(watch.givenUp(kStart + 10001ms));
}

} // namespace
} // namespace soundcheck
