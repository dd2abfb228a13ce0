// The playback data loop: when blocks are asked for, what is done with them, what is told about time.
#include "scenario.h"

namespace {

const std::string kPrefix = "RenderDeviceContext::int_processData ";

} // namespace

SCENARIO(RenderLoop, FirstBlocks_ComeWhenTheWriteCursorEntersABlock,
         "One block is asked for at the start and one whenever the write cursor enters a block.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(20);
    EXPECT_EQ(client.requests.size(), 1u);
    sim.advance(2);
    EXPECT_EQ(client.requests.size(), 2u) << "a cursor on the boundary waits for 21 ms";
    const auto locks = sim.calls("Secondary.Lock");
    ASSERT_EQ(locks.size(), 3u);
    EXPECT_EQ(locks[1].arguments, "19200 3840 flags 0") << "block 5";
    EXPECT_EQ(locks[2].arguments, "23040 3840 flags 0") << "block 6";
    EXPECT_EQ(client.requests[0].frames, 960);
    EXPECT_EQ(client.requests[0].contextId, 7u);
    EXPECT_EQ(client.requests[0].flag, 0);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderLoop, CursorInsideABlock_WaitsAsLongAsItIsInside,
         "The wait is the time that the cursor is into its block, plus one millisecond.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    std::vector<double> times;
    for (const CallRecord& call : sim.calls("Secondary.GetCurrentPosition"))
        times.push_back(static_cast<double>(call.time) / static_cast<double>(kMillisecond));
    // 0: boundary, 21 ms. 21: 1 ms inside, 2 ms. 23: 4 ms. 27: 8 ms. 35: 16 ms. 51: 12 ms ...
    const std::vector<double> expected = {0, 0, 21, 21, 23, 27, 35, 51, 51, 63, 63, 67, 75, 91, 91};
    ASSERT_GE(times.size(), expected.size());
    times.resize(expected.size());
    EXPECT_EQ(times, expected);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderLoop, WrongFrameCounts_AreSilence,
         "A negative result or one beyond the request gives a silent block; a short one is filled with silence.") {
    Device& speaker = sim.playback("Speaker");
    std::uint64_t call = 0;
    client.onPlayback = [&](const std::string& device, AudioBlock& block) -> std::int32_t {
        client.fillNumberedBlock(device, block);
        const std::int32_t answers[] = {960, -1, 961, 480};
        return answers[call++ % 4];
    };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(5 * 20 + 8 * 20);
    client.closeAndFinalize({&speaker});
    sim.sound().catchUp();
    const NumberedChecker heard = speaker.checkHeard();
    EXPECT_EQ(heard.leadIn(), 5 * 960u);
    EXPECT_EQ(heard.frames(), 2 * (960u + 480u));
    EXPECT_EQ(heard.silence(), 2 * (960u + 960u + 480u));
    EXPECT_EQ(heard.garbage(), 0u);
}

SCENARIO(RenderLoop, SlowClient_IsToldOfBeyond20Milliseconds,
         "A getPlaybackData of 20 ms is silent, one of 21 ms is told with its time.") {
    Device& speaker = sim.playback("Speaker");
    unsigned milliseconds = 20;
    client.onPlayback = [&](const std::string&, AudioBlock& block) {
        sim.spend(milliseconds);
        milliseconds = 0;
        return block.frameCount;
    };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(200);
    const std::vector<std::string> pass = {kPrefix + "outerLoop proc (3) time: 41 msecs"};
    EXPECT_EQ(client.logTexts(2), pass) << "the callback and the wait together, but not the callback";
    milliseconds = 21;
    sim.advance(200);
    expectLog(2, speaker, kPrefix + "m_DS->m_Callbacks.getPlaybackData time 21 msecs");
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderLoop, SlowPosition_IsToldOfBeyond40Milliseconds,
         "A first cursor read of 40 ms is silent, one of 41 ms is told, also when it fails.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.on("Secondary.GetCurrentPosition").onCall(1).takes(40);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(60);
    for (const std::string& text : client.logTexts(2))
        EXPECT_EQ(text.find("proc (2)"), std::string::npos) << text;
    sim.on("Secondary.GetCurrentPosition").takes(41).fails(DSERR_PRIOLEVELNEEDED);
    sim.advance(200);
    expectLog(2, speaker, kPrefix + "outerLoop proc (2) time: 41 msecs");
    expectLog(1, speaker, "unknown error: The function requires a higher priority level (0x88780046)");
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderLoop, LateWakeUp_IsToldOfBeyond20Milliseconds,
         "A timed wait that takes more than 20 ms longer than meant is told with its time.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.scheduler().setLateness([](Nanoseconds exact) { return exact + 20 * kMillisecond; });
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(40); // the first wait is of 20 + 1 ms and takes 41
    EXPECT_TRUE(client.logTexts(2).empty());
    sim.advance(2);
    expectLog(2, speaker, kPrefix + "slept for 41 msecs");
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderLoop, FailingLock_EndsTheLoop,
         "A failing buffer lock is logged, ends the loop, and the device stops.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.Lock").fails(DSERR_BUFFERLOST);
    sim.advance(100);
    const auto requests = client.requestCount;
    sim.advance(500);
    EXPECT_EQ(client.requestCount, requests);
    expectTrouble({"unknown error: Buffer memory has been lost, and must be restored (0x88780096)"});
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderLoop, FailingUnlock_IsIgnored, "A failing unlock in the loop is ignored.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.on("Secondary.Unlock").fails(DSERR_INVALIDPARAM);
    sim.advance(500);
    EXPECT_GT(client.requestCount, 20u);
    expectTrouble({});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderLoop, FrozenDevice_CanBeStopped, "A device whose cursor stands still is stopped like any other.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(105);
    speaker.freezes();
    sim.advance(1000);
    const double begin = sim.now();
    client.closeAndFinalize({&speaker});
    EXPECT_EQ(sim.now(), begin);
}

SCENARIO(RenderLoop, CoarseClocks_LoseNothing,
         "Cursors that move in steps of 10 or 31.25 ms and waits of at least 16 ms lose and repeat nothing.") {
    EXPECT_EQ(client.initialize(), 0);
    for (const double step : {10.0, 31.25}) {
        Device& speaker = sim.playback("Speaker " + std::to_string(step)).steps(step).cursorLead(10);
        sim.timerGranularity(16);
        EXPECT_EQ(client.open(speaker).result, 0);
        EXPECT_EQ(client.start(speaker), 0);
        sim.advance(5000);
        EXPECT_EQ(client.close(speaker), 0);
        client.waitForClosed();
        const NumberedChecker heard = speaker.checkHeard();
        EXPECT_TRUE(heard.unbroken()) << step << ": " << heard.breaks() << " breaks";
        EXPECT_GT(heard.frames(), 220'000u);
        EXPECT_EQ(speaker.heard.lateWrites, 0u);
    }
    client.finalize();
}
