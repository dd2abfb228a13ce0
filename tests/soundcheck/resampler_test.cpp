#include "audio/resampler.h"
#include "test_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace soundcheck {
namespace {

/** Resamples in pieces of odd lengths, as a file reader would. */
std::vector<float> resampled(const std::vector<float>& input, std::uint32_t channels, std::uint32_t from,
                             std::uint32_t to, std::size_t framesPerPiece = 1009) {
    Resampler resampler(channels, from, to);
    std::vector<float> output;
    for (std::size_t start = 0; start < input.size(); start += framesPerPiece * channels)
        resampler.process(std::span(input).subspan(start, std::min(framesPerPiece * channels, input.size() - start)),
                          output);
    resampler.finish(output);
    return output;
}

/** Power of `expected` over the power of the difference, without the ends, where the input begins and stops. */
double signalToNoise(const std::vector<float>& actual, const std::vector<float>& expected, std::size_t margin) {
    double signal = 0;
    double noise = 0;
    for (std::size_t i = margin; i + margin < std::min(actual.size(), expected.size()); ++i) {
        const double difference = static_cast<double>(actual[i]) - static_cast<double>(expected[i]);
        signal += static_cast<double>(expected[i]) * static_cast<double>(expected[i]);
        noise += difference * difference;
    }
    return 10 * std::log10(signal / noise);
}

double loudest(const std::vector<float>& samples, std::size_t margin) {
    float peak = 0;
    for (std::size_t i = margin; i + margin < samples.size(); ++i)
        peak = std::max(peak, std::abs(samples[i]));
    return static_cast<double>(peak);
}

struct Rates {
    std::uint32_t from;
    std::uint32_t to;
};

class ResamplerRates : public testing::TestWithParam<Rates> {};

TEST_P(ResamplerRates, Sine_ComesOutAsTheSameSine) {
    const auto [from, to] = GetParam();
    const std::vector<float> output = resampled(test::sine(997, from, from), 1, from, to);
    ASSERT_EQ(output.size(), to) << "one second is one second";
    EXPECT_GT(signalToNoise(output, test::sine(997, to, to), to / 20), 90.0);
}

INSTANTIATE_TEST_SUITE_P(Usual, ResamplerRates,
                         testing::Values(Rates{44100, 48000}, Rates{48000, 44100}, Rates{8000, 48000},
                                         Rates{11025, 48000}, Rates{16000, 44100}, Rates{22050, 48000},
                                         Rates{96000, 48000}, Rates{192000, 44100}, Rates{44099, 48000},
                                         Rates{48000, 8000}),
                         [](const auto& rates) {
                             return std::to_string(rates.param.from) + "To" + std::to_string(rates.param.to);
                         });

TEST(Resampler, SameRate_SamplesStayExactlyAsTheyAre) {
    const std::vector<float> input = test::sine(5000, 48000, 4801, 2);
    EXPECT_EQ(resampled(input, 2, 48000, 48000), input);
}

TEST(Resampler, AnyPieces_GiveTheSameOutput) {
    const std::vector<float> input = test::sine(440, 44100, 9000, 2);
    const std::vector<float> whole = resampled(input, 2, 44100, 48000, input.size());
    EXPECT_EQ(resampled(input, 2, 44100, 48000, 1), whole);
    EXPECT_EQ(resampled(input, 2, 44100, 48000, 4096), whole);
}

TEST(Resampler, Length_IsExactForShortInputs) {
    for (std::size_t frames = 0; frames < 400; ++frames) {
        const std::vector<float> input(frames, 0.25F);
        ASSERT_EQ(resampled(input, 1, 44100, 48000).size(), (frames * 48000 + 44099) / 44100) << frames;
        ASSERT_EQ(resampled(input, 1, 192000, 44100).size(), (frames * 44100 + 191999) / 192000) << frames;
    }
}

TEST(Resampler, Down_ToneAboveTheNewBand_IsGone) {
    const double peak = loudest(resampled(test::sine(15000, 48000, 48000), 1, 48000, 16000), 1000);
    EXPECT_LT(20 * std::log10(peak / 0.5), -85.0);
}

TEST(Resampler, Up_NoMirrorImages) {
    // 3 kHz at 8 kHz has its first image at 5 kHz: the output must be nothing but the tone.
    const std::vector<float> output = resampled(test::sine(3000, 8000, 8000), 1, 8000, 48000);
    EXPECT_GT(signalToNoise(output, test::sine(3000, 48000, 48000), 3000), 85.0);
}

TEST(Resampler, Constant_KeepsItsLevel) {
    const std::vector<float> output = resampled(std::vector<float>(10000, 0.5F), 1, 44100, 48000);
    for (std::size_t i = 1000; i + 1000 < output.size(); ++i)
        ASSERT_NEAR(output[i], 0.5F, 2e-5F) << i;
}

TEST(Resampler, Channels_DoNotMix) {
    std::vector<float> input = test::sine(440, 44100, 8820, 2);
    for (std::size_t i = 1; i < input.size(); i += 2)
        input[i] = 0.0F;
    const std::vector<float> output = resampled(input, 2, 44100, 48000);
    for (std::size_t i = 1; i < output.size(); i += 2)
        ASSERT_EQ(output[i], 0.0F);
    EXPECT_GT(loudest(output, 1000), 0.49);
}

TEST(Resampler, LongStream_DoesNotDrift) {
    // After ten minutes the last sample still belongs to the same time.
    constexpr std::uint64_t kFrames = 44100ULL * 600;
    EXPECT_EQ(Resampler::outputFrames(kFrames, 44100, 48000), 48000ULL * 600);
    EXPECT_EQ(Resampler::outputFrames(kFrames + 1, 44100, 48000), 48000ULL * 600 + 2);
}

} // namespace
} // namespace soundcheck
