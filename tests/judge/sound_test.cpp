#include "resampler.h"
#include "sound.h"
#include "synthetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>

namespace {

using namespace judge;
using namespace synthetic;

class SoundFile : public testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(path); }

    const std::string path =
        testing::TempDir() + "judge_" + testing::UnitTest::GetInstance()->current_test_info()->name() + ".wav";
};

TEST_F(SoundFile, WrittenAndRead_IsTheSameTo16Bits) {
    const Sound sound = speech(0.5, 1);
    writeSound(path, sound);
    const Sound back = readSound(path);
    ASSERT_EQ(back.rate, kRate);
    ASSERT_EQ(back.samples.size(), sound.samples.size());
    for (std::size_t i = 0; i < back.samples.size(); ++i)
        ASSERT_NEAR(back.samples[i], sound.samples[i], 1.0 / 32000);
}

TEST_F(SoundFile, NotAWaveFile_IsRefused) {
    std::ofstream(path) << "not a sound";
    EXPECT_THROW(readSound(path), BadFile);
}

TEST_F(SoundFile, NoFrames_IsRefused) {
    writeSound(path, {{}, kRate});
    EXPECT_THROW(readSound(path), BadFile);
}

TEST(Level, OutsideTheSound_CountsAsSilence) {
    EXPECT_DOUBLE_EQ(levelOf({1, 1}, 0, 2), 1);
    EXPECT_DOUBLE_EQ(levelOf({1, 1}, 1, 4), 0.5);
    EXPECT_DOUBLE_EQ(levelOf({1, 1}, 9, 4), 0);
}

TEST(Resampler, Tone_KeepsItsPlaceAndLevel) {
    Sound tone{{}, 22050};
    for (int i = 0; i < 22050; ++i)
        tone.samples.push_back(0.5 * std::sin(2 * std::numbers::pi * 440 * i / 22050));
    const Sound fast = resampled(tone, kRate);
    ASSERT_EQ(fast.samples.size(), static_cast<std::size_t>(kRate));
    for (std::size_t i = 2000; i < fast.samples.size() - 2000; ++i)
        ASSERT_NEAR(fast.samples[i], 0.5 * std::sin(2 * std::numbers::pi * 440 * static_cast<double>(i) / kRate),
                    0.002);
}

} // namespace
