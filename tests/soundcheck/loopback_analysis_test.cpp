// The analysis of a loopback against recordings with errors of known kind, size and place.
#include "loopback/analysis.h"
#include "loopback/synthetic_loop.h"
#include "loopback/tone_tracker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <span>

namespace soundcheck {
namespace {

/** A departure from the sines may need a few frames to grow beyond the noise. */
constexpr double kPlaceTolerance = 16;

LoopResult judge(const SyntheticLoop& loop, const LoopRecording& recording) {
    return analyse(recording, loop.probe());
}

void expectOne(const LoopResult& result, DisturbanceKind kind, std::uint64_t frame, std::uint64_t frames) {
    ASSERT_EQ(result.disturbances.size(), 1U);
    const Disturbance& only = result.disturbances.front();
    EXPECT_EQ(only.kind, kind);
    EXPECT_NEAR(static_cast<double>(only.frame), static_cast<double>(frame), kPlaceTolerance);
    EXPECT_EQ(only.frames, frames);
}

/** Both rates, mono and stereo, and what only has eight bits. */
class LoopAnalysis : public testing::TestWithParam<SyntheticLoop> {};

INSTANTIATE_TEST_SUITE_P(Formats, LoopAnalysis,
                         testing::Values(SyntheticLoop{}, SyntheticLoop{2, 44100, 2, 44100},
                                         SyntheticLoop{2, 44100, 2, 48000}, SyntheticLoop{1, 48000, 1, 48000},
                                         SyntheticLoop{2, 48000, 1, 48000}, SyntheticLoop{2, 48000, 2, 48000, 8},
                                         SyntheticLoop{1, 44100, 1, 44100, 8}, SyntheticLoop{6, 48000, 2, 48000}));

TEST_P(LoopAnalysis, Clean_NothingIsFound) {
    const SyntheticLoop& loop = GetParam();
    const LoopResult result = judge(loop, makeRecording(loop));
    EXPECT_EQ(result.marks, ProbeSignal::kMarks);
    EXPECT_TRUE(result.toneHeard);
    EXPECT_TRUE(result.disturbances.empty());
    EXPECT_FALSE(result.swapped());
    EXPECT_NEAR(result.driftPpm, 0, 5);
    ASSERT_EQ(result.channels.size(), loop.channels);
    const bool mixed = loop.channels == 1 && loop.playedChannels > 1;
    for (std::size_t channel = 0; channel < loop.channels; ++channel) {
        EXPECT_EQ(result.channels[channel].mixed, mixed);
        EXPECT_NEAR(result.channels[channel].gainDecibels, mixed ? -6.02 : 0, 0.1);
        EXPECT_EQ(result.channels[channel].noiseDecibels, kDigitalSilenceDecibels);
        if (!mixed) {
            EXPECT_EQ(result.channels[channel].source, static_cast<int>(channel));
        }
    }
}

TEST_P(LoopAnalysis, Dropped_SizeAndPlaceAreTold) {
    const SyntheticLoop& loop = GetParam();
    const LoopRecording clean = makeRecording(loop);
    const std::uint64_t block = loop.sampleRate / 50;
    for (const std::uint64_t frames : {std::uint64_t{1}, std::uint64_t{2}, std::uint64_t{21}, std::uint64_t{48},
                                       std::uint64_t{337}, block - 1, block, 3 * block, 7 * block + 5}) {
        SCOPED_TRACE(frames);
        LoopRecording recording = clean;
        const std::uint64_t place = frameInTone(loop, 0.7123);
        dropFrames(recording, place, frames);
        expectOne(judge(loop, recording), DisturbanceKind::dropped, place, frames);
    }
}

TEST_P(LoopAnalysis, InsertedSilence_SizeAndPlaceAreTold) {
    const SyntheticLoop& loop = GetParam();
    const LoopRecording clean = makeRecording(loop);
    const std::uint64_t block = loop.sampleRate / 50;
    for (const std::uint64_t frames : {std::uint64_t{1}, std::uint64_t{40}, block, 5 * block, 25 * block}) {
        SCOPED_TRACE(frames);
        LoopRecording recording = clean;
        const std::uint64_t place = frameInTone(loop, 0.6);
        insertSilence(recording, place, frames);
        expectOne(judge(loop, recording), DisturbanceKind::added, place, frames);
    }
}

TEST_P(LoopAnalysis, RepeatedBlocks_SizeAndPlaceAreTold) {
    const SyntheticLoop& loop = GetParam();
    const LoopRecording clean = makeRecording(loop);
    const std::uint64_t block = loop.sampleRate / 50;
    for (const std::uint64_t frames : {std::uint64_t{1}, block, 2 * block}) {
        SCOPED_TRACE(frames);
        LoopRecording recording = clean;
        const std::uint64_t place = frameInTone(loop, 0.5);
        repeatFrames(recording, place, frames);
        expectOne(judge(loop, recording), DisturbanceKind::added, place, frames);
    }
}

TEST_P(LoopAnalysis, Pop_LengthAndPlaceAreTold) {
    const SyntheticLoop& loop = GetParam();
    const LoopRecording clean = makeRecording(loop);
    for (const std::uint64_t frames : {1U, 2U, 100U}) {
        SCOPED_TRACE(frames);
        LoopRecording recording = clean;
        const std::uint64_t place = frameInTone(loop, 1.1);
        spoilFrames(recording, place, frames, 0.7F);
        expectOne(judge(loop, recording), DisturbanceKind::pop, place, frames);
    }
}

TEST_P(LoopAnalysis, SilencedInPlace_IsAPopOfItsLength) {
    const SyntheticLoop& loop = GetParam();
    LoopRecording recording = makeRecording(loop);
    const std::uint64_t place = frameInTone(loop, 0.8);
    spoilFrames(recording, place, 2000, 0);
    const LoopResult result = judge(loop, recording);
    ASSERT_EQ(result.disturbances.size(), 1U);
    EXPECT_EQ(result.disturbances.front().kind, DisturbanceKind::pop);
    EXPECT_NEAR(static_cast<double>(result.disturbances.front().frames), 2000, kPlaceTolerance);
}

TEST_P(LoopAnalysis, SeveralErrors_AllAreToldInOrder) {
    const SyntheticLoop& loop = GetParam();
    LoopRecording recording = makeRecording(loop);
    insertSilence(recording, frameInTone(loop, 1.2), 500); // from the end, so that the places stay
    spoilFrames(recording, frameInTone(loop, 0.9), 3, -0.7F);
    dropFrames(recording, frameInTone(loop, 0.4), 33);
    const LoopResult result = judge(loop, recording);
    ASSERT_EQ(result.disturbances.size(), 3U);
    EXPECT_EQ(result.disturbances[0].kind, DisturbanceKind::dropped);
    EXPECT_EQ(result.disturbances[1].kind, DisturbanceKind::pop);
    EXPECT_EQ(result.disturbances[2].kind, DisturbanceKind::added);
    EXPECT_EQ(result.framesOf(DisturbanceKind::dropped), 33U);
    EXPECT_EQ(result.framesOf(DisturbanceKind::added), 500U);
    EXPECT_EQ(result.count(DisturbanceKind::pop), 1U);
}

TEST_P(LoopAnalysis, DroppedBetweenMarks_IsToldWithTheUnsureness) {
    const SyntheticLoop& loop = GetParam();
    LoopRecording recording = makeRecording(loop);
    const std::uint64_t place = frameInTone(loop, loop.toneSeconds + 0.3 + 5.5 * ProbeSignal::kMarkDistanceSeconds);
    dropFrames(recording, place, 4);
    const LoopResult result = judge(loop, recording);
    ASSERT_EQ(result.disturbances.size(), 1U);
    const Disturbance& only = result.disturbances.front();
    EXPECT_EQ(only.kind, DisturbanceKind::dropped);
    EXPECT_EQ(only.frames, 4U);
    EXPECT_LE(only.frame, place);
    EXPECT_GE(only.frame + only.within, place);
    EXPECT_LT(only.within, static_cast<std::uint64_t>(0.12 * loop.sampleRate));
}

TEST_P(LoopAnalysis, Latency_IsTheDelay) {
    const SyntheticLoop& loop = GetParam();
    const LoopResult result = judge(loop, makeRecording(loop));
    EXPECT_EQ(result.latency.size(), ProbeSignal::kMarks);
    EXPECT_NEAR(result.latencySpread.median, loop.delayMilliseconds, 0.05);
    EXPECT_NEAR(result.latencySpread.min, loop.delayMilliseconds, 0.05);
    EXPECT_NEAR(result.latencySpread.max, loop.delayMilliseconds, 0.05);
    EXPECT_NEAR(result.playedRate, loop.playedRate, 0.01);
    EXPECT_NEAR(result.capturedRate, loop.sampleRate, 0.01);
}

TEST(LoopAnalysisOfSignal, QueuesThatFillUpFirst_DoNotCountInTheRates) {
    const SyntheticLoop loop;
    LoopRecording recording = makeRecording(loop);
    for (std::vector<double>* times : {&recording.playedSeconds, &recording.capturedSeconds})
        for (std::size_t block = 0; block < 4; ++block)
            (*times)[block] = 0.08; // four at once, then one by one
    const LoopResult result = judge(loop, recording);
    EXPECT_NEAR(result.playedRate, loop.playedRate, 0.001);
    EXPECT_NEAR(result.capturedRate, loop.sampleRate, 0.001);
}

TEST(LoopAnalysisOfSignal, ShorterThanTwoSeconds_AllBlocksCountInTheRates) {
    const SyntheticLoop loop;
    LoopRecording recording = makeRecording(loop);
    recording.playedSeconds.resize(99);
    for (double& time : std::span(recording.playedSeconds).first(50))
        time += 0.01;
    EXPECT_GT(judge(loop, recording).playedRate, 1.001 * loop.playedRate);
    recording.playedSeconds.push_back(99 * 0.02);
    EXPECT_NEAR(judge(loop, recording).playedRate, loop.playedRate, 0.001);
}

TEST(LoopAnalysisOfSignal, AddedFrames_MakeTheLatencyLonger) {
    const SyntheticLoop loop;
    LoopRecording recording = makeRecording(loop);
    insertSilence(recording, frameInTone(loop, 0.6), 960);
    const LoopResult result = judge(loop, recording);
    EXPECT_NEAR(result.latencySpread.min, 120, 0.05);
    EXPECT_NEAR(result.latencySpread.max, 140, 0.05);
}

TEST(LoopAnalysisOfSignal, Swapped_IsTold) {
    SyntheticLoop loop;
    loop.swapped = true;
    const LoopResult result = judge(loop, makeRecording(loop));
    EXPECT_TRUE(result.swapped());
    EXPECT_TRUE(result.disturbances.empty());
}

TEST(LoopAnalysisOfSignal, Gain_IsTold) {
    for (const double decibels : {-30.0, -6.0, 1.5}) {
        SyntheticLoop loop;
        loop.gain = std::pow(10, decibels / 20);
        const LoopResult result = judge(loop, makeRecording(loop));
        EXPECT_NEAR(result.channels[0].gainDecibels, decibels, 0.05);
        EXPECT_TRUE(result.disturbances.empty()) << decibels;
    }
}

TEST(LoopAnalysisOfSignal, Noise_IsToldAndIsNoError) {
    for (const double decibels : {-80.0, -50.0}) {
        SyntheticLoop loop;
        loop.noise = std::pow(10, decibels / 20);
        const LoopResult result = judge(loop, makeRecording(loop));
        EXPECT_NEAR(result.channels[1].noiseDecibels.value(), decibels, 1);
        EXPECT_TRUE(result.disturbances.empty()) << decibels;
    }
}

TEST(LoopAnalysisOfSignal, Noise_DoesNotHideALostFrame) {
    SyntheticLoop loop;
    loop.noise = std::pow(10, -50.0 / 20);
    LoopRecording recording = makeRecording(loop);
    const std::uint64_t place = frameInTone(loop, 0.5);
    dropFrames(recording, place, 1);
    expectOne(judge(loop, recording), DisturbanceKind::dropped, place, 1);
}

TEST(LoopAnalysisOfSignal, Drift_IsToldAndIsNoError) {
    for (const double ppm : {-1000.0, -100.0, 200.0, 1000.0}) {
        SyntheticLoop loop;
        loop.driftPpm = ppm;
        LoopRecording recording = makeRecording(loop);
        const double real = (std::round(48000 * (1 + ppm * 1e-6)) / 48000 - 1) * 1e6;
        EXPECT_NEAR(judge(loop, recording).driftPpm, real, 2);
        EXPECT_TRUE(judge(loop, recording).disturbances.empty()) << ppm;
        const std::uint64_t place = frameInTone(loop, 0.5);
        dropFrames(recording, place, 1);
        expectOne(judge(loop, recording), DisturbanceKind::dropped, place, 1);
    }
}

TEST(LoopAnalysisOfSignal, DriftThatGrows_IsFollowed) {
    const SyntheticLoop loop;
    const LoopRecording clean = makeRecording(loop);
    const std::uint64_t begin = frameInTone(loop, 0.05);
    const std::uint64_t end = frameInTone(loop, 1.4);
    LoopRecording recording = clean;
    for (std::uint64_t frame = begin; frame < end; ++frame) {
        const auto since = static_cast<double>(frame - begin);
        const double place =
            static_cast<double>(frame) - 0.5 * 600e-6 * since * since / static_cast<double>(end - begin);
        const auto whole = static_cast<std::size_t>(place);
        const auto part = static_cast<float>(place - static_cast<double>(whole));
        for (const std::size_t channel : {0U, 1U})
            recording.samples[2 * frame + channel] =
                (1 - part) * clean.samples[2 * whole + channel] + part * clean.samples[2 * (whole + 1) + channel];
    }
    const auto track = followTones(recording, loop.probe(), begin, end);
    ASSERT_TRUE(track.has_value());
    EXPECT_TRUE(track->disturbances.empty());
    EXPECT_NEAR(track->driftPpm, 300, 10);
}

TEST(LoopAnalysisOfSignal, OneChannelSilent_HasNoSource) {
    const SyntheticLoop loop;
    LoopRecording recording = makeRecording(loop);
    for (std::size_t i = 1; i < recording.samples.size(); i += 2)
        recording.samples[i] = 0.0F;
    const LoopResult result = judge(loop, recording);
    ASSERT_EQ(result.channels.size(), 2U);
    EXPECT_EQ(result.channels[0].source, 0);
    EXPECT_EQ(result.channels[1].source, -1);
    EXPECT_TRUE(result.disturbances.empty());
}

TEST(LoopAnalysisOfSignal, PopInSilence_IsFoundAboveTheThresholdOnly) {
    const SyntheticLoop loop;
    const LoopRecording clean = makeRecording(loop);
    const std::uint64_t place = frameInTone(loop, loop.toneSeconds + 0.15);
    LoopRecording loud = clean;
    spoilFrames(loud, place, 1, 0.0052F);
    expectOne(judge(loop, loud), DisturbanceKind::pop, place, 1);
    LoopRecording faint = clean;
    spoilFrames(faint, place, 1, 0.0048F);
    EXPECT_TRUE(judge(loop, faint).disturbances.empty());
}

TEST(LoopAnalysisOfSignal, PopInTone_IsFoundAboveTheThresholdOnly) {
    const SyntheticLoop loop;
    const LoopRecording clean = makeRecording(loop);
    const std::uint64_t place = frameInTone(loop, 0.8);
    for (const double share : {0.019, 0.021}) {
        LoopRecording recording = clean;
        for (const std::size_t channel : {0U, 1U})
            recording.samples[2 * place + channel] += static_cast<float>(share * ProbeSignal::kToneAmplitude);
        EXPECT_EQ(judge(loop, recording).disturbances.size(), share > 0.02 ? 1U : 0U) << share;
    }
}

TEST(LoopAnalysisOfSignal, Excerpts_LieUnderEachOther) {
    const SyntheticLoop loop;
    LoopRecording recording = makeRecording(loop);
    const std::uint64_t place = frameInTone(loop, 0.7);
    insertSilence(recording, place, 300);
    const LoopResult result = judge(loop, recording);
    ASSERT_EQ(result.excerpts.size(), 2U);
    const LoopExcerpt& mark = result.excerpts.front();
    EXPECT_EQ(mark.disturbance, std::nullopt);
    ASSERT_EQ(mark.played.size(), mark.captured.size());
    for (std::size_t i = 0; i < mark.played.size(); ++i)
        ASSERT_NEAR(mark.played[i], mark.captured[i], 0.001) << i;
    const LoopExcerpt& gap = result.excerpts.back();
    EXPECT_EQ(gap.disturbance, result.disturbances.front());
    for (std::size_t i = 0; gap.frame + i < place; ++i)
        ASSERT_NEAR(gap.played[i], gap.captured[i], 0.001) << i;
    EXPECT_EQ(gap.captured[place - gap.frame + 10], 0.0F);
}

TEST(LoopAnalysisOfSignal, NothingOfTheProbe_IsNotFound) {
    const SyntheticLoop loop;
    LoopRecording recording = makeRecording(loop);
    std::fill(recording.samples.begin(), recording.samples.end(), 0.0F);
    EXPECT_FALSE(judge(loop, recording).found());
    recording.samples.clear();
    EXPECT_FALSE(judge(loop, recording).found());

    SyntheticLoop deaf;
    deaf.gain = 0;
    deaf.noise = 0.1;
    EXPECT_FALSE(judge(deaf, makeRecording(deaf)).found());
}

TEST(LoopAnalysisOfSignal, Interrupted_WhatCameIsJudged) {
    const SyntheticLoop loop;
    LoopRecording recording = makeRecording(loop);
    dropFrames(recording, frameInTone(loop, 0.5), 7);
    recording.samples.resize(2 * frameInTone(loop, 0.9));
    const LoopResult result = judge(loop, recording);
    EXPECT_EQ(result.marks, ProbeSignal::kMarksBefore);
    EXPECT_TRUE(result.toneHeard);
    EXPECT_EQ(result.framesOf(DisturbanceKind::dropped), 7U);
    EXPECT_EQ(result.disturbances.size(), 1U);
}

} // namespace
} // namespace soundcheck
