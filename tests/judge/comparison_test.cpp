#include "comparison.h"
#include "resampler.h"
#include "synthetic.h"

#include <gtest/gtest.h>

namespace {

using namespace judge;
using namespace synthetic;

constexpr std::size_t kOffset = 54321;
constexpr std::size_t kBlock = 960;
constexpr double kSeconds = 8; // syllables: 2.7 a second; pauses: 1.6 to 2.0 s, 3.6 to 4.0 s, ...

std::size_t distance(std::size_t one, std::size_t other) {
    return one > other ? one - other : other - one;
}

TEST(Comparison, DelayedCopy_IsSameAtItsOffset) {
    const Sound said = speech(kSeconds, 1);
    const Comparison result = compare(said, delayed(said, kOffset));
    EXPECT_TRUE(result.same());
    EXPECT_NEAR(result.offsetFrames, kOffset, 0.01);
    EXPECT_NEAR(result.offsetMilliseconds, kOffset / 48.0, 0.01);
    EXPECT_GT(result.likeness, 0.9999);
    EXPECT_NEAR(result.gainDecibels, 0, 0.01);
}

TEST(Comparison, QuieterCopy_IsSameAndGainIsTold) {
    Sound said = speech(kSeconds, 2);
    Sound heard = delayed(said, kOffset);
    for (double& sample : heard.samples)
        sample *= 0.25;
    const Comparison result = compare(said, heard);
    EXPECT_TRUE(result.same());
    EXPECT_NEAR(result.gainDecibels, -12.04, 0.02);
}

TEST(Comparison, OtherRate_IsConvertedFirst) {
    const Sound said = speech(kSeconds, 3, 22050);
    const Comparison result = compare(said, delayed(resampled(said, kRate), kOffset));
    EXPECT_TRUE(result.same());
    EXPECT_NEAR(result.offsetFrames, kOffset, 0.1);
}

TEST(Comparison, PartOfAFrameLater_IsSameAndTold) {
    const Sound said = speech(kSeconds, 4);
    Sound heard = delayed(said, kOffset);
    heard.samples = delayedByFraction(heard.samples, 0.4);
    const Comparison result = compare(said, heard);
    EXPECT_TRUE(result.same());
    EXPECT_NEAR(result.offsetFrames, kOffset + 0.4, 0.05);
}

TEST(Comparison, SlightNoise_IsStillSame) {
    const Sound said = speech(kSeconds, 5);
    EXPECT_TRUE(compare(said, sum(delayed(said, kOffset), noise(20, 55, 0.001), 1)).same());
}

struct Cut {
    std::size_t position;
    std::size_t count;
};

class ComparisonCut : public testing::TestWithParam<Cut> {};

TEST_P(ComparisonCut, FramesCutOut_AreToldWithPlaceAndNumber) {
    const Sound said = speech(kSeconds, 6);
    const auto [position, count] = GetParam();
    const Comparison result = compare(said, delayed(withoutFrames(said, position, count), kOffset));
    EXPECT_FALSE(result.same());
    EXPECT_EQ(result.lost, count);
    EXPECT_EQ(result.repeated, 0U);
    EXPECT_EQ(result.damaged, 0U);
    ASSERT_EQ(result.jumps.size(), 1U);
    EXPECT_LE(distance(result.jumps[0].position, position), 2U);
}

TEST_P(ComparisonCut, FramesRepeated_AreToldWithPlaceAndNumber) {
    const Sound said = speech(kSeconds, 7);
    const auto [position, count] = GetParam();
    const Comparison result = compare(said, delayed(withRepeat(said, position, count), kOffset));
    EXPECT_FALSE(result.same());
    EXPECT_EQ(result.repeated, count);
    EXPECT_EQ(result.lost, 0U);
    EXPECT_EQ(result.damaged, 0U);
    ASSERT_EQ(result.jumps.size(), 1U);
    // The same frames twice: nobody can say which of the two is the one too many.
    EXPECT_LE(distance(result.jumps[0].position, position), count + 2);
}

INSTANTIATE_TEST_SUITE_P(Places, ComparisonCut,
                         testing::Values(Cut{110000, 1}, Cut{110000, 2}, Cut{110000, 480}, Cut{110000, kBlock},
                                         Cut{23000, kBlock}, Cut{310000, 7 * kBlock}, Cut{200000, 30000}),
                         [](const testing::TestParamInfo<Cut>& cut) {
                             return "At" + std::to_string(cut.param.position) + "Frames" +
                                    std::to_string(cut.param.count);
                         });

TEST(Comparison, CutInAPause_IsTold) {
    const Sound said = speech(kSeconds, 8);
    const auto position = static_cast<std::size_t>(3.7 * kRate);
    const Comparison result = compare(said, delayed(withoutFrames(said, position, kBlock), kOffset));
    EXPECT_EQ(result.lost, kBlock);
    EXPECT_FALSE(result.same());
}

TEST(Comparison, CutAndRepeat_AreBothTold) {
    const Sound said = speech(kSeconds, 9);
    const Sound cut = withoutFrames(withRepeat(said, 250000, 2 * kBlock), 60000, kBlock);
    const Comparison result = compare(said, delayed(cut, kOffset));
    EXPECT_EQ(result.lost, kBlock);
    EXPECT_EQ(result.repeated, 2 * kBlock);
    EXPECT_FALSE(result.same());
}

TEST(Comparison, BlockReplacedBySilence_IsDamage) {
    const Sound said = speech(kSeconds, 10);
    const std::size_t position = static_cast<std::size_t>(kRate * 6.25 / 2.7); // the middle of a syllable
    const Comparison result = compare(said, delayed(withSilence(said, position, kBlock), kOffset));
    EXPECT_FALSE(result.same());
    EXPECT_EQ(result.lost + result.repeated, 0U);
    EXPECT_GE(result.damaged, kBlock / 2);
    EXPECT_LE(result.damaged, 2 * kBlock);
}

TEST(Comparison, NoiseBurstInAPause_IsDamage) {
    const Sound said = speech(kSeconds, 11);
    Sound heard = delayed(said, kOffset);
    const Sound burst = noise(0.02, 12, 0.1);
    const auto position = kOffset + static_cast<std::size_t>(3.7 * kRate);
    std::copy(burst.samples.begin(), burst.samples.end(),
              heard.samples.begin() + static_cast<std::ptrdiff_t>(position));
    const Comparison result = compare(said, heard);
    EXPECT_FALSE(result.same());
    EXPECT_GE(result.damaged, kBlock);
}

TEST(Comparison, EndNotRecorded_IsNotSame) {
    const Sound said = speech(kSeconds, 13);
    Sound heard = delayed(said, kOffset);
    heard.samples.resize(kOffset + static_cast<std::size_t>(7 * kRate));
    const Comparison result = compare(said, heard);
    EXPECT_FALSE(result.same());
    EXPECT_GT(result.damaged, static_cast<std::size_t>(kRate) / 3);
}

TEST(Comparison, BeginNotRecorded_IsNotSame) {
    const Sound said = speech(kSeconds, 14);
    const Comparison result = compare(said, withoutFrames(said, 0, kRate / 2));
    EXPECT_FALSE(result.same());
}

TEST(Comparison, Noise_IsNotFound) {
    EXPECT_FALSE(compare(speech(kSeconds, 15), noise(10, 16)).found);
}

TEST(Comparison, OtherSpeech_IsNotFound) {
    EXPECT_FALSE(compare(speech(kSeconds, 17), delayed(speech(kSeconds, 18), kOffset)).found);
}

TEST(Comparison, Silence_IsNotFound) {
    EXPECT_FALSE(compare(speech(kSeconds, 19), silence(10)).found);
    EXPECT_FALSE(compare(silence(5), speech(kSeconds, 20)).found);
    EXPECT_FALSE(compare(silence(5), silence(5)).found);
}

TEST(Comparison, MuchNoise_IsNotSame) {
    const Sound said = speech(kSeconds, 21);
    EXPECT_FALSE(compare(said, sum(delayed(said, kOffset), noise(20, 22, 0.05), 1)).same());
}

TEST(Comparison, Inverted_IsNotSame) {
    const Sound said = speech(kSeconds, 23);
    EXPECT_FALSE(compare(said, sum(silence(20), delayed(said, kOffset), -1)).same());
}

} // namespace
