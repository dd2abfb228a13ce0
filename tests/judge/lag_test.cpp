#include "lag.h"
#include "synthetic.h"

#include <gtest/gtest.h>

namespace {

using namespace judge;
using namespace synthetic;

constexpr std::size_t kLag = 8112; // 169 ms

TEST(Lag, ConstantDelay_IsToldAndConstant) {
    const Sound reference = speech(10, 1);
    const LagReport report = measureLag(reference, delayed(reference, kLag));
    EXPECT_TRUE(report.constant());
    EXPECT_NEAR(report.milliseconds, 169, 0.01);
    EXPECT_LT(report.spreadMilliseconds, 0.05);
    EXPECT_GT(report.likeness, 0.999);
    EXPECT_GT(report.windows, 20U);
    EXPECT_EQ(report.unsure, 0U);
}

TEST(Lag, ReferenceLate_IsNegative) {
    const Sound microphone = speech(10, 2);
    const LagReport report = measureLag(delayed(microphone, 4800), microphone);
    EXPECT_NEAR(report.milliseconds, -100, 0.01);
    EXPECT_TRUE(report.constant());
}

TEST(Lag, OneBlockLostOnTheWay_IsNotConstant) {
    const Sound reference = speech(10, 3);
    const LagReport report = measureLag(reference, delayed(withoutFrames(reference, 200000, 960), kLag));
    EXPECT_FALSE(report.constant());
    EXPECT_NEAR(report.spreadMilliseconds, 20, 0.1);
}

TEST(Lag, OneBlockLostWhileSettling_IsConstantAfterwards) {
    const Sound reference = speech(10, 3);
    const LagReport report = measureLag(reference, delayed(withoutFrames(reference, 48000, 960), kLag));
    EXPECT_TRUE(report.constant());
    EXPECT_LT(report.spreadMilliseconds, 0.05);
    EXPECT_NEAR(report.settlingMilliseconds, 20, 0.1);
}

TEST(Lag, TwoMillisecondsMore_IsNotConstant) {
    const Sound reference = speech(10, 4);
    const LagReport report = measureLag(reference, delayed(withRepeat(reference, 200000, 96), kLag));
    EXPECT_FALSE(report.constant());
    EXPECT_NEAR(report.spreadMilliseconds, 2, 0.1);
}

TEST(Lag, OtherSound_IsNotConstant) {
    EXPECT_FALSE(measureLag(speech(10, 5), delayed(speech(10, 6), kLag)).constant());
    EXPECT_FALSE(measureLag(speech(10, 5), noise(10, 6)).constant());
}

TEST(Lag, SilentReferenceOrMicrophone_IsNotConstant) {
    EXPECT_FALSE(measureLag(silence(5), speech(5, 7)).constant());
    EXPECT_FALSE(measureLag(speech(5, 7), silence(5)).constant());
}

TEST(Lag, DifferentRates_AreRefused) {
    EXPECT_THROW(measureLag(speech(2, 8), speech(2, 8, 44100)), BadFile);
}

} // namespace
