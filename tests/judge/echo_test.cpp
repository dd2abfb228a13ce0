#include "echo_canceller.h"
#include "near_end.h"
#include "synthetic.h"

#include <gtest/gtest.h>

namespace {

using namespace judge;
using namespace synthetic;

constexpr std::size_t kLag = 8112; // 169 ms
constexpr double kSeconds = 18;

double erleOfSecondHalf(const Sound& reference, const Sound& microphone, const CancellerSettings& settings) {
    const std::size_t length = microphone.samples.size();
    return erle(reference, microphone, residualOf(reference, microphone, settings), settings, length / 2, length);
}

TEST(Erle, TrueReferenceOfASmallRoom_IsGood) {
    const Sound reference = speech(kSeconds, 1);
    EXPECT_GE(erleOfSecondHalf(reference, echoOf(reference, kLag, 2), {}), kGoodErle);
}

TEST(Erle, ReferenceShiftedBy300Milliseconds_IsBad) {
    const Sound reference = speech(kSeconds, 1);
    CancellerSettings settings;
    settings.shiftMilliseconds = 300;
    EXPECT_LT(erleOfSecondHalf(reference, echoOf(reference, kLag, 2), settings), 6);
}

TEST(Erle, OtherSpeechAsReference_IsBad) {
    EXPECT_LT(erleOfSecondHalf(speech(kSeconds, 3), echoOf(speech(kSeconds, 4), kLag, 2), {}), 6);
}

TEST(Erle, EchoLaterThanTheTail_IsBad) {
    const Sound reference = speech(kSeconds, 5);
    EXPECT_LT(erleOfSecondHalf(reference, echoOf(reference, 24000, 2), {}), 6);
}

TEST(Erle, ReferenceWithAMovingLag_IsBad) {
    // One block is lost every two seconds: the canceller never has the time to converge.
    const Sound reference = speech(kSeconds, 6);
    Sound microphone = echoOf(reference, kLag, 2);
    for (std::size_t second = 14; second > 0; second -= 2)
        microphone = withoutFrames(microphone, second * kRate + 12000, 960);
    EXPECT_LT(erleOfSecondHalf(reference, microphone, {}), kGoodErle);
}

TEST(Erle, SilentReference_IsZero) {
    EXPECT_EQ(erleOfSecondHalf(silence(kSeconds), speech(kSeconds, 7), {}), 0);
}

TEST(Erle, SilentMicrophone_IsZero) {
    EXPECT_EQ(erleOfSecondHalf(speech(kSeconds, 7), silence(kSeconds), {}), 0);
}

TEST(Erle, KnownResidual_IsTheEnergyRatio) {
    const Sound reference = speech(4, 8);
    Sound residual = reference;
    for (double& sample : residual.samples)
        sample *= 0.1;
    EXPECT_NEAR(erle(reference, reference, residual, {}, 0, reference.samples.size()), 20, 0.01);
}

TEST(NearEnd, Placed_FillsTheLastThirdAtItsLevel) {
    const Sound microphone = noise(9, 10, 0.05);
    const NearEnd nearEnd = placeNearEnd(speech(1.5, 11, 22050), microphone, -6);
    EXPECT_EQ(nearEnd.first, microphone.samples.size() * 2 / 3);
    EXPECT_EQ(levelOf(nearEnd.clean.samples, 0, nearEnd.first), 0);
    const double level = levelOf(nearEnd.clean.samples, nearEnd.first, microphone.samples.size() / 3);
    EXPECT_NEAR(decibels(level / 0.05), -6, 0.1);
}

TEST(NearEnd, UntouchedSpeech_SurvivesWhole) {
    const Sound microphone = noise(9, 12, 0.05);
    const NearEnd nearEnd = placeNearEnd(speech(4, 13), microphone, 0);
    const Survival survival = survivalOf(nearEnd, nearEnd.clean);
    EXPECT_NEAR(survival.survivingDecibels, 0, 0.01);
    EXPECT_NEAR(survival.likeness, 1, 0.001);
    EXPECT_TRUE(survival.survived());
}

TEST(NearEnd, HalfOfItUnderEqualNoise_IsMeasured) {
    const Sound microphone = noise(9, 14, 0.05);
    const NearEnd nearEnd = placeNearEnd(speech(4, 15), microphone, 0);
    const Survival survival = survivalOf(nearEnd, sum(noise(9, 16, 0.025), nearEnd.clean, 0.5));
    EXPECT_NEAR(survival.survivingDecibels, -6.02, 0.3);
    EXPECT_NEAR(survival.likeness, 0.707, 0.02);
}

TEST(NearEnd, SwallowedSpeech_DidNotSurvive) {
    const Sound microphone = noise(9, 17, 0.05);
    const NearEnd nearEnd = placeNearEnd(speech(4, 18), microphone, 0);
    EXPECT_FALSE(survivalOf(nearEnd, sum(silence(9), nearEnd.clean, 0.3)).survived());
    EXPECT_FALSE(survivalOf(nearEnd, microphone).survived());
    EXPECT_FALSE(survivalOf(nearEnd, silence(9)).survived());
}

TEST(NearEnd, ThroughTheCanceller_Survives) {
    const Sound reference = speech(kSeconds, 19);
    const Sound microphone = echoOf(reference, kLag, 2);
    const NearEnd nearEnd = placeNearEnd(speech(7, 20), microphone, 0);
    const Sound mixture = mixed(microphone, nearEnd);
    const Sound residual = residualOf(reference, mixture, {});
    EXPECT_TRUE(survivalOf(nearEnd, residual).survived());
    EXPECT_GE(erle(reference, mixture, residual, {}, mixture.samples.size() / 2, nearEnd.first), kGoodErle);
}

TEST(NearEnd, SilentMicrophone_IsRefused) {
    EXPECT_THROW(placeNearEnd(speech(2, 21), silence(9), 0), BadFile);
}

} // namespace
