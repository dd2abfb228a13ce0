// The arithmetic of the axes.
#include "pictures/scale.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace soundcheck {
namespace {

using testing::ElementsAre;

TEST(Scale, RoundEnds_HoldBothValues) {
    const Scale scale = niceScale(3.2, 17.9, 0, 5);
    EXPECT_DOUBLE_EQ(scale.low, 0);
    EXPECT_DOUBLE_EQ(scale.high, 20);
    EXPECT_DOUBLE_EQ(scale.step, 5);
    EXPECT_THAT(ticksOf(scale), ElementsAre(0, 5, 10, 15, 20));
}

TEST(Scale, RandomRanges_AreHeldWithFewRoundSteps) {
    for (int i = 0; i < 20000; ++i) {
        const double low = std::sin(i) * std::pow(10.0, i % 13 - 6);
        const double high = low + std::abs(std::cos(i * 7)) * std::pow(10.0, (i / 13) % 13 - 6);
        const int steps = 2 + i % 9;
        const Scale scale = niceScale(low, high, 0, steps);
        ASSERT_LE(scale.low, low + scale.step * 1e-6) << i;
        ASSERT_GE(scale.high, high - scale.step * 1e-6) << i;
        ASSERT_LE(ticksOf(scale).size(), static_cast<std::size_t>(steps) + 1) << i;
        ASSERT_GE(ticksOf(scale).size(), 2U) << i;
        const double digit = scale.step / std::pow(10.0, std::floor(std::log10(scale.step) + 1e-9));
        ASSERT_TRUE(std::abs(digit - 1) < 1e-6 || std::abs(digit - 2) < 1e-6 || std::abs(digit - 5) < 1e-6) << digit;
    }
}

TEST(Scale, NoiseInTheLastDigit_StaysSmallOnTheAxis) {
    const Scale scale = niceScale(168.999999, 169.000001, 10, 5);
    EXPECT_GE(scale.high - scale.low, 10);
    const double a = position(scale, 168.999999, 0, 100);
    const double b = position(scale, 169.000001, 0, 100);
    EXPECT_NEAR(a, b, 0.001);
    EXPECT_GT(a, 20) << "in the middle, not at an end";
    EXPECT_LT(a, 80);
}

TEST(Scale, WidenedRangeOfNothing_BeginsAtZero) {
    EXPECT_DOUBLE_EQ(niceScale(0, 0, 10, 5).low, 0);
    EXPECT_DOUBLE_EQ(niceScale(0, 0.1, 10, 5).low, 0);
}

TEST(Scale, SenselessValues_GiveAScaleNonetheless) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Scale& scale : {niceScale(nan, 1, 1, 5), niceScale(0, INFINITY, 1, 5), niceScale(5, -5, 1, 5),
                               niceScale(1e300, 1e300, 0, 5), niceScale(0, 0, 0, 2)}) {
        EXPECT_LT(scale.low, scale.high);
        EXPECT_LE(ticksOf(scale).size(), 100U);
    }
    EXPECT_DOUBLE_EQ(position(niceScale(0, 1, 1, 5), nan, 10, 20), 10);
}

TEST(Scale, TightScale_EndsAtTheValues_WithRoundTicksBetween) {
    const Scale scale = tightScale(0.3, 20.4, 0.1, 6);
    EXPECT_DOUBLE_EQ(scale.low, 0.3);
    EXPECT_DOUBLE_EQ(scale.high, 20.4);
    EXPECT_THAT(ticksOf(scale), ElementsAre(5, 10, 15, 20));
    EXPECT_DOUBLE_EQ(position(scale, 20.4, 0, 100), 100);
}

TEST(Scale, TickTexts_HaveTheDecimalsOfTheStep) {
    EXPECT_EQ(tickText(20, 5), "20");
    EXPECT_EQ(tickText(0.25, 0.05), "0.25");
    EXPECT_EQ(tickText(0.30000000000000004, 0.1), "0.3");
    EXPECT_EQ(tickText(-1e-17, 0.1), "0.0");
    EXPECT_EQ(tickText(-2.5, 0.5), "-2.5");
    EXPECT_EQ(tickText(1000, 1000), "1000");
}

TEST(Scale, Position_IsLinearAndStaysInside) {
    const Scale scale{10, 20, 5};
    EXPECT_DOUBLE_EQ(position(scale, 15, 0, 100), 50);
    EXPECT_DOUBLE_EQ(position(scale, 15, 100, 0), 50);
    EXPECT_DOUBLE_EQ(position(scale, 20, 100, 0), 0);
    EXPECT_DOUBLE_EQ(position(scale, 99, 0, 100), 100);
    EXPECT_DOUBLE_EQ(position(scale, -99, 0, 100), 0);
}

} // namespace
} // namespace soundcheck
