// What a playback device makes of the client's answers.
#include "render_support.h"

#include <array>

using namespace scenario::render;

SCENARIO(
    RenderClient, FramesThatAreMissing_AreSilenceToTheSample,
    "The frames that the client gave are heard as they are, and the missing ones are silence, to the sample; wrong "
    "counts give a whole block of silence.") {
    struct Case {
        std::int32_t answer;
        std::int32_t heard;
    };
    const std::vector<Case> cases = {
        {0, 0},
        {1, 1},
        {100, 100},
        {959, 959},
        {960, 960},
        {961, 0},
        {1920, 0},
        {-1, 0},
        {-960, 0},
        {std::numeric_limits<std::int32_t>::min(), 0},
        {std::numeric_limits<std::int32_t>::max(), 0},
    };
    Device& speaker = sim.playback("Speaker");
    client.onPlayback = [&](const std::string&, AudioBlock& block) {
        std::fill_n(block.samples, kBlockFrames * 2, std::int16_t{0x1234});
        return cases[(client.requestCount - 1) % cases.size()].answer;
    };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(800);
    client.closeAndFinalize({&speaker});
    for (std::size_t i = 0; i < 2 * cases.size(); ++i) {
        const std::vector<std::int16_t> block = heardBlock(speaker, 5 + i);
        const auto given = static_cast<std::ptrdiff_t>(cases[i % cases.size()].heard) * 2;
        EXPECT_TRUE(std::all_of(block.begin(), block.begin() + given, [](std::int16_t s) { return s == 0x1234; }));
        EXPECT_EQ(silentSamples(block), block.size() - static_cast<std::size_t>(given))
            << "answer " << cases[i % cases.size()].answer;
    }
    expectTrouble({});
}

SCENARIO(RenderClient, MissingFramesOfOtherChannelCounts_AreSilenceToTheSample,
         "Missing frames are silenced to the sample with one channel and with six.") {
    EXPECT_EQ(client.initialize(), 0);
    for (const WORD channels : {WORD{1}, WORD{6}}) {
        Device& speaker = sim.playback("Speaker " + std::to_string(channels));
        speaker.primaryKeeps({channels, 48000, 16, std::nullopt});
        client.onPlayback = [channels](const std::string&, AudioBlock& block) {
            std::fill_n(block.samples, kBlockFrames * channels, std::int16_t{-1});
            return 7;
        };
        EXPECT_EQ(client.open(speaker).result, 0);
        EXPECT_EQ(client.start(speaker), 0);
        sim.advance(300);
        EXPECT_EQ(client.close(speaker), 0);
        client.waitForClosed();
        const std::vector<std::int16_t> block = heardBlock(speaker, 6, std::size_t{kBlockFrames} * channels * 2);
        EXPECT_EQ(silentSamples(block), (kBlockFrames - 7u) * channels);
        EXPECT_EQ(block.at(std::size_t{7} * channels - 1), -1);
        EXPECT_EQ(block.at(std::size_t{7} * channels), 0);
    }
    client.finalize();
}

SCENARIO(RenderClient, ChangedFrameCount_IsWhatTheAnswerIsHeldAgainst,
         "When the client changes the frame count in the record its answer is held against the changed count: beyond "
         "that count nothing is silenced.") {
    struct Case {
        std::int32_t count, answer;
        std::int32_t silentFrom, silentTo;
    };
    const std::vector<Case> cases = {
        {480, 480, 0, 0}, {480, 100, 100, 480}, {480, 481, 0, 480}, {480, -1, 0, 480},
        {0, 0, 0, 0},     {0, 5, 0, 0},         {-1, 0, 0, 0},      {-5, -3, 0, 0},
    };
    Device& speaker = sim.playback("Speaker");
    client.onPlayback = [&](const std::string&, AudioBlock& block) {
        const Case& c = cases[(client.requestCount - 1) % cases.size()];
        std::fill_n(block.samples, kBlockFrames * 2, std::int16_t{77});
        block.frameCount = c.count;
        block.contextId = 99;
        block.flag = 3;
        return c.answer;
    };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(800);
    client.closeAndFinalize({&speaker});
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const std::vector<std::int16_t> block = heardBlock(speaker, 5 + i);
        for (std::size_t sample = 0; sample < block.size(); ++sample) {
            const auto frame = static_cast<std::int32_t>(sample / 2);
            const bool silent = frame >= cases[i].silentFrom && frame < cases[i].silentTo;
            ASSERT_EQ(block[sample], silent ? 0 : 77) << "case " << i << " frame " << frame;
        }
    }
    for (const PlaybackRequest& request : client.requests) {
        EXPECT_EQ(request.contextId, 7u) << "every request is made anew";
        EXPECT_EQ(request.flag, 0);
        EXPECT_EQ(request.frames, 960);
    }
}

SCENARIO(RenderClient, ChangedSamplePointer_IsWhereSilenceGoes,
         "When the client changes the sample pointer in the record the silence goes there, and the block that was "
         "offered is heard as it is.") {
    std::array<std::int16_t, 1920> own{};
    own.fill(5);
    Device& speaker = sim.playback("Speaker");
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        client.fillNumberedBlock(device, block);
        block.samples = own.data();
        return 10;
    };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(500);
    client.closeAndFinalize({&speaker});
    EXPECT_EQ(std::count(own.begin(), own.end(), 5), 20);
    EXPECT_EQ(std::count(own.begin(), own.end(), 0), 1900);
    EXPECT_TRUE(speaker.checkHeard().unbroken());
}

SCENARIO(RenderClient, DspLockHeldLong_CostsNothingAndLosesNoBlock,
         "While the client holds the DSP lock the loop sleeps without polling; afterwards it goes on with the block "
         "that it had prepared.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    client.lockDsp();
    sim.advance(100);
    const std::size_t before = client.requests.size();
    const unsigned polls = sim.count("Secondary.GetCurrentPosition");
    const unsigned tries = sim.count("TryEnterCriticalSection");
    sim.advance(850);
    EXPECT_EQ(client.requests.size(), before);
    EXPECT_EQ(sim.count("Secondary.GetCurrentPosition"), polls);
    EXPECT_EQ(sim.count("TryEnterCriticalSection"), tries);
    const double unlocked = sim.now();
    client.unlockDsp();
    sim.advance(1);
    ASSERT_GT(client.requests.size(), before);
    EXPECT_EQ(client.requests[before].time, unlocked);
    const std::vector<CallRecord> waits = sim.calls("WaitForMultipleObjects");
    ASSERT_FALSE(waits.empty());
    EXPECT_EQ(waits.back().arguments, "INFINITE");
    sim.advance(500);
    client.closeAndFinalize({&speaker});
    const std::vector<DWORD> blocks = writtenBlocks(sim);
    for (std::size_t i = 0; i < blocks.size(); ++i)
        ASSERT_EQ(blocks[i], (i + 5) % 50);
}

SCENARIO(RenderClient, StopWhileTheDspLockIsHeld_DoesNotWaitForIt,
         "A stop or close while the client holds the DSP lock ends the loop at once, and the block that was prepared "
         "is freed and not asked for.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    for (const bool closes : {false, true}) {
        EXPECT_EQ(client.open(speaker).result, 0);
        EXPECT_EQ(client.start(speaker), 0);
        sim.advance(305);
        client.lockDsp();
        sim.advance(200);
        const std::size_t requests = client.requests.size();
        const unsigned stops = sim.count("Secondary.Stop");
        EXPECT_EQ(liveOfSize(sim, kBlockBytes), 11u) << "ten played ones and the prepared one";
        EXPECT_EQ(closes ? client.close(speaker) : client.stop(speaker), 0);
        const double ordered = sim.now();
        sim.advance(1);
        EXPECT_EQ(sim.count("Secondary.Stop"), stops + 1);
        EXPECT_EQ(static_cast<double>(sim.calls("Secondary.Stop").back().time) / kMillisecond, ordered);
        if (!closes) {
            EXPECT_EQ(liveOfSize(sim, kBlockBytes), 10u);
            EXPECT_EQ(client.close(speaker), 0);
        }
        client.waitForClosed();
        EXPECT_EQ(client.requests.size(), requests);
        client.unlockDsp();
    }
    expectTrouble({});
    client.finalize();
}

SCENARIO(RenderClient, FailingWaitForTheDspLock_TriesAgain,
         "A failing wait for the DSP lock has the lock tried again, without end and without hiding a stop.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(305);
    sim.on("WaitForMultipleObjects").fails(WAIT_FAILED);
    client.lockDsp();
    sim.advance(60);
    client.unlockDsp();
    const std::size_t requests = client.requests.size();
    sim.advance(100);
    EXPECT_GT(client.requests.size(), requests + 4);
    client.lockDsp();
    sim.advance(60);
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(60);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    client.unlockDsp();
    client.closeAndFinalize({&speaker});
}
