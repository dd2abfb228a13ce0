#include "audio/channel_map.h"
#include "audio/converted_wav.h"
#include "test_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace soundcheck {
namespace {

std::vector<float> mapped(std::uint32_t inputs, std::uint32_t outputs, const std::vector<float>& input) {
    std::vector<float> output;
    ChannelMap(inputs, outputs).apply(input, output);
    return output;
}

TEST(ChannelMap, SameCount_IsUnchanged) {
    EXPECT_EQ(mapped(2, 2, {1, 2, 3, 4}), (std::vector<float>{1, 2, 3, 4}));
}

TEST(ChannelMap, MonoToStereo_GoesToBoth) {
    EXPECT_EQ(mapped(1, 2, {1, 2}), (std::vector<float>{1, 1, 2, 2}));
}

TEST(ChannelMap, MonoToSurround_GoesToTheFront) {
    EXPECT_EQ(mapped(1, 6, {0.5F}), (std::vector<float>{0.5F, 0.5F, 0, 0, 0, 0}));
}

TEST(ChannelMap, StereoToMono_IsTheMean) {
    EXPECT_EQ(mapped(2, 1, {1, 0, 0.5F, 0.5F}), (std::vector<float>{0.5F, 0.5F}));
}

TEST(ChannelMap, StereoToSurround_KeepsLeftAndRight) {
    EXPECT_EQ(mapped(2, 4, {0.25F, 0.75F}), (std::vector<float>{0.25F, 0.75F, 0, 0}));
}

TEST(ChannelMap, SurroundToStereo_LeftStaysLeft) {
    const ChannelMap map(6, 2);
    EXPECT_GT(map.gain(0, 0), 0.0F);
    EXPECT_EQ(map.gain(0, 1), 0.0F);
    EXPECT_GT(map.gain(0, 4), 0.0F);
    EXPECT_EQ(map.gain(1, 4), 0.0F);
    EXPECT_EQ(map.gain(0, 2), map.gain(1, 2));
    EXPECT_EQ(map.gain(0, 3), 0.0F) << "low frequencies are left out";
}

TEST(ChannelMap, AnyCounts_FullScaleEverywhereDoesNotClip) {
    for (std::uint32_t inputs = 1; inputs <= 12; ++inputs)
        for (std::uint32_t outputs = 1; outputs <= 8; ++outputs)
            for (const float sample : mapped(inputs, outputs, std::vector<float>(inputs, 1.0F)))
                EXPECT_LE(sample, 1.00001F) << inputs << " to " << outputs;
}

class ConvertedFile : public testing::Test {
protected:
    WavReader reader(const test::Bytes& format, const test::Bytes& samples) const {
        test::store(m_folder.file("test.wav"), test::wavFile(format, samples));
        return WavReader(m_folder.file("test.wav"));
    }
    static std::vector<std::int16_t> readAll(ConvertedWav& wav, std::size_t channels) {
        std::vector<std::int16_t> all;
        std::vector<std::int16_t> piece(777 * channels);
        while (const std::size_t frames = wav.read(piece))
            all.insert(all.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(frames * channels));
        return all;
    }
    test::TemporaryFolder m_folder;
};

TEST_F(ConvertedFile, DevicesOwnFormat_IsBitExact) {
    const auto samples = test::sine16(440, 48000, 10001, 2);
    ConvertedWav wav(reader(test::formatChunk(1, 2, 48000, 16), test::sampleBytes(samples)), 2, 48000);
    EXPECT_EQ(wav.frames(), 10001U);
    EXPECT_EQ(readAll(wav, 2), samples);
}

TEST_F(ConvertedFile, MonoAtAnotherRate_HasTheAnnouncedLengthAndTheTone) {
    const auto samples = test::sine16(440, 22050, 22050, 1);
    ConvertedWav wav(reader(test::formatChunk(1, 1, 22050, 16), test::sampleBytes(samples)), 2, 48000);
    EXPECT_EQ(wav.frames(), 48000U);
    const auto all = readAll(wav, 2);
    const auto expected = test::sine16(440, 48000, 48000, 2);
    ASSERT_EQ(all.size(), expected.size());
    for (std::size_t i = 4000; i + 4000 < all.size(); ++i)
        ASSERT_LE(std::abs(all[i] - expected[i]), 3) << i;
}

TEST_F(ConvertedFile, Limit_CutsExactly) {
    const auto samples = test::sine16(440, 44100, 44100, 1);
    ConvertedWav wav(reader(test::formatChunk(1, 1, 44100, 16), test::sampleBytes(samples)), 1, 48000, 1234);
    EXPECT_EQ(wav.frames(), 1234U);
    EXPECT_EQ(readAll(wav, 1).size(), 1234U);
}

} // namespace
} // namespace soundcheck
