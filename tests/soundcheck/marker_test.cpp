#include "audio/echo_lag.h"
#include "audio/marker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace soundcheck {
namespace {

constexpr std::uint32_t kRate = 48000;

std::vector<float> noise(std::size_t samples, float loudness, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::vector<float> sound(samples);
    for (float& sample : sound)
        sample = loudness * (static_cast<float>(random() % 20001) / 10000.0F - 1.0F);
    return sound;
}

/** Mixes a marker in. */
void put(std::vector<float>& sound, std::size_t place, float gain = 1.0F) {
    const std::vector<float> marker = makeMarker(kRate);
    for (std::size_t i = 0; i < marker.size() && place + i < sound.size(); ++i)
        sound[place + i] += gain * marker[i];
}

std::vector<MarkerMatch> find(const std::vector<float>& sound, std::size_t piece = kRate) {
    MarkerFinder finder(kRate);
    for (std::size_t at = 0; at < sound.size(); at += piece)
        finder.add(std::span(sound).subspan(at, std::min(piece, sound.size() - at)));
    finder.finish();
    return finder.matches();
}

TEST(NormalisedCorrelation, SameOppositeAndSilence) {
    const std::vector<float> marker = makeMarker(kRate);
    std::vector<float> quiet = marker;
    std::vector<float> opposite = marker;
    for (std::size_t i = 0; i < marker.size(); ++i) {
        quiet[i] *= 0.01F;
        opposite[i] = -marker[i];
    }
    EXPECT_NEAR(normalisedCorrelation(marker, quiet), 1.0, 1e-5);
    EXPECT_NEAR(normalisedCorrelation(marker, opposite), -1.0, 1e-5);
    EXPECT_EQ(normalisedCorrelation(marker, std::vector<float>(marker.size())), 0.0);
    EXPECT_LT(normalisedCorrelation(marker, noise(marker.size(), 0.5F)), 0.2);
}

TEST(Marker, Period_BeginsWithItAndIsSilentBehind) {
    const std::vector<std::int16_t> period = markerPeriod(kRate);
    ASSERT_EQ(period.size(), kRate);
    EXPECT_GT(*std::max_element(period.begin(), period.begin() + 2400), 9000);
    EXPECT_TRUE(std::all_of(period.begin() + 2400, period.end(), [](std::int16_t sample) { return sample == 0; }));
}

TEST(MarkerFinder, Markers_AreFoundToTheSample) {
    std::vector<float> sound(std::size_t{4} * kRate);
    const std::vector<std::size_t> places = {100, 48100 + 7, 96100, 144100};
    for (const std::size_t place : places)
        put(sound, place);
    const std::vector<MarkerMatch> matches = find(sound);
    ASSERT_EQ(matches.size(), places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
        EXPECT_NEAR(matches[i].seconds * kRate, static_cast<double>(places[i]), 0.01);
        EXPECT_GT(matches[i].correlation, 0.999);
    }
}

TEST(MarkerFinder, PiecesOfAnySize_GiveTheSame) {
    std::vector<float> sound = noise(kRate, 0.02F);
    put(sound, 12345, 0.5F);
    for (const std::size_t piece : {std::size_t{960}, std::size_t{1001}, std::size_t{30000}}) {
        const std::vector<MarkerMatch> matches = find(sound, piece);
        ASSERT_EQ(matches.size(), 1U) << piece;
        EXPECT_NEAR(matches[0].seconds * kRate, 12345.0, 0.01) << piece;
    }
}

TEST(MarkerFinder, SilenceAndNoise_HoldNoMarker) {
    EXPECT_TRUE(find(std::vector<float>(std::size_t{2} * kRate)).empty());
    EXPECT_TRUE(find(noise(std::size_t{3} * kRate, 0.5F)).empty());
}

TEST(MarkerFinder, Threshold_DecidesBothWays) {
    // In noise of so many times its energy a marker is as like as the square root of its share.
    std::vector<float> clear = noise(kRate / 2, 0.2F, 5);
    std::vector<float> buried = clear;
    put(clear, 9000, 0.7F);
    put(buried, 9000, 0.1F);
    EXPECT_EQ(find(clear).size(), 1U);
    EXPECT_TRUE(find(buried).empty());
}

TEST(MarkerFinder, NewestMarker_CountsWhenNothingBetterFollowsOrTheSoundEnds) {
    std::vector<float> sound(kRate / 4);
    put(sound, 1000);
    MarkerFinder finder(kRate);
    finder.add(sound);
    EXPECT_TRUE(finder.matches().empty());
    finder.finish();
    EXPECT_EQ(finder.matches().size(), 1U);

    MarkerFinder patient(kRate);
    patient.add(sound);
    patient.add(std::vector<float>(kRate / 2));
    EXPECT_EQ(patient.matches().size(), 1U);
}

TEST(EchoLag, LagMedianAndSpread) {
    const std::vector<MarkerMatch> reference = {{1.0, 1}, {2.0, 1}, {3.0, 1}};
    const std::vector<MarkerMatch> microphone = {{1.16, 0.9}, {2.17, 0.5}, {3.2, 0.7}};
    const EchoLag lag = measureLag(reference, microphone);
    ASSERT_EQ(lag.points.size(), 3U);
    EXPECT_NEAR(lag.points[0].milliseconds, 160, 1e-6);
    EXPECT_NEAR(lag.medianMilliseconds, 170, 1e-6);
    EXPECT_NEAR(lag.minMilliseconds, 160, 1e-6);
    EXPECT_NEAR(lag.maxMilliseconds, 200, 1e-6);
    EXPECT_NEAR(lag.spreadMilliseconds(), 40, 1e-6);
    EXPECT_NEAR(lag.medianCorrelation, 0.7, 1e-6);
}

TEST(EchoLag, MarkersThatMiss_AreLeftOut) {
    const std::vector<MarkerMatch> reference = {{1.0, 1}, {2.0, 1}, {3.0, 1}, {9.0, 1}};
    const std::vector<MarkerMatch> microphone = {{0.5, 1}, {1.1, 1}, {3.1, 1}};
    const EchoLag lag = measureLag(reference, microphone);
    ASSERT_EQ(lag.points.size(), 2U);
    EXPECT_EQ(lag.points[1].seconds, 3.0);
    EXPECT_TRUE(measureLag(reference, {}).points.empty());
    EXPECT_EQ(measureLag({}, microphone).medianMilliseconds, 0.0);
}

TEST(EchoLag, MicrophoneBeforeTheReference_IsNegativeWithinLimits) {
    const std::vector<MarkerMatch> reference = {{1.0, 1}};
    EXPECT_NEAR(measureLag(reference, std::vector<MarkerMatch>{{0.81, 1}}).minMilliseconds, -190, 1e-6);
    EXPECT_TRUE(measureLag(reference, std::vector<MarkerMatch>{{0.79, 1}}).points.empty());
    EXPECT_NEAR(measureLag(reference, std::vector<MarkerMatch>{{1.79, 1}}).maxMilliseconds, 790, 1e-6);
    EXPECT_TRUE(measureLag(reference, std::vector<MarkerMatch>{{1.81, 1}}).points.empty());
}

} // namespace
} // namespace soundcheck
