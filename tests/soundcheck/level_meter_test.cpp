#include "audio/level_meter.h"

#include <gtest/gtest.h>

#include <array>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

constexpr LevelDisplay::Clock::time_point kStart{1h};

TEST(LevelMeter, Peak_IsTheLoudestSampleUntilTaken) {
    LevelMeter meter;
    meter.add(std::array<std::int16_t, 3>{1, -200, 100});
    meter.add(std::array<std::int16_t, 1>{150});
    EXPECT_EQ(meter.takePeak(), 200);
    EXPECT_EQ(meter.takePeak(), 0);
}

TEST(LevelMeter, LargestNegativeSample_IsFullScale) {
    LevelMeter meter;
    meter.add(std::array<std::int16_t, 1>{-32768});
    EXPECT_EQ(meter.takePeak(), kFullScale);
}

TEST(LevelMeter, UnsignedBytes_AreCentredAt128) {
    LevelMeter meter;
    meter.add(std::array<std::uint8_t, 2>{128, 128});
    EXPECT_EQ(meter.takePeak(), 0);
    meter.add(std::array<std::uint8_t, 1>{64});
    EXPECT_EQ(meter.takePeak(), kFullScale / 2);
}

TEST(Decibels, KnownLevels) {
    EXPECT_DOUBLE_EQ(decibels(kFullScale), 0.0);
    EXPECT_NEAR(decibels(kFullScale / 2), -6.02, 0.01);
    EXPECT_EQ(decibels(0), kSilenceDecibels);
    EXPECT_GT(decibels(1), kSilenceDecibels);
}

TEST(LevelDisplay, Peak_IsHeldAndThenFalls) {
    LevelDisplay display;
    display.update(20000, kStart);
    display.update(100, kStart + 1s);
    EXPECT_EQ(display.held(), 20000);
    display.update(100, kStart + 1600ms);
    EXPECT_EQ(display.held(), 100);
}

TEST(LevelDisplay, Clipping_StaysMarkedForAWhile) {
    LevelDisplay display;
    display.update(32767, kStart);
    EXPECT_TRUE(display.clipped());
    display.update(10, kStart + 2s);
    EXPECT_NE(display.text(10).find("CLIP"), std::string::npos);
    display.update(10, kStart + 4s);
    EXPECT_FALSE(display.clipped());
    display.update(32766, kStart + 5s);
    EXPECT_FALSE(display.clipped());
}

TEST(LevelDisplay, Text_IsOfFixedLengthAndShowsTheLevel) {
    LevelDisplay display;
    EXPECT_EQ(display.text(10), "[----------] -96.0 dB");
    display.update(kFullScale / 2, kStart);
    EXPECT_EQ(display.text(10), "[########|-]  -6.0 dB");
    display.update(0, kStart + 100ms);
    EXPECT_EQ(display.text(10), "[--------|-] -96.0 dB");
}

} // namespace
} // namespace soundcheck
