// What ends the playback loop, and what is left then.
#include "render_support.h"

using namespace scenario::render;

SCENARIO(RenderTrouble, FirstCursorRead_FailingEndsTheLoop,
         "A failing cursor read at the begin of a pass is logged at level 1, asks for no block any more, and has the "
         "device stopped and released.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    const std::size_t known = soundCalls(sim).size();
    sim.on("Secondary.GetCurrentPosition").onCall(1).fails(DSERR_NODRIVER);
    speaker.jumps(100);
    sim.advance(1000);
    expectTrouble({kNoDriver});
    expectLog(1, speaker, kNoDriver);
    EXPECT_EQ(client.requests.size(), 1u);
    EXPECT_EQ(soundCallsAfter(sim, known),
              (std::vector<std::string>{"Secondary.GetCurrentPosition", "Secondary.Stop", "Primary.Release",
                                        "Secondary.Release", "DirectSound.Release"}));
    EXPECT_EQ(client.start(speaker), -232);
    EXPECT_EQ(client.stop(speaker), 0);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTrouble, LoopThatEndsBeforeTheAnswer_FailsTheStart,
         "When the loop has failed and the device has stopped before the start was answered, start answers -233.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.on("Secondary.GetCurrentPosition").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.start(speaker), -233);
    expectTrouble({kNoDriver});
    EXPECT_TRUE(client.requests.empty());
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderTrouble, CursorReadAfterABlock_FailingEndsTheLoop,
    "A failing cursor read after a block is logged like the first one, and the block has been written and kept.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.Unlock").onCall(1).does([&] {
        sim.on("Secondary.GetCurrentPosition").onCall(1).fails(DSERR_NODRIVER);
    });
    speaker.jumps(100);
    sim.advance(1000);
    expectTrouble({kNoDriver});
    EXPECT_EQ(writtenBlocks(sim), (std::vector<DWORD>{5, 6}));
    EXPECT_EQ(sim.count("Secondary.Unlock"), 3u);
    EXPECT_EQ(liveOfSize(sim, kBlockBytes), 2u);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderTrouble, Lock_FailingFreesTheBlockAndEndsTheLoop,
    "A failing lock of a block is logged at level 1, the block is freed without an unlock, and the device stops.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(105);
    const std::size_t kept = liveOfSize(sim, kBlockBytes);
    const unsigned unlocks = sim.count("Secondary.Unlock");
    sim.on("Secondary.Lock").onCall(1).fails(DSERR_NODRIVER);
    const std::size_t known = soundCalls(sim).size();
    sim.advance(1000);
    expectTrouble({kNoDriver});
    EXPECT_EQ(liveOfSize(sim, kBlockBytes), kept);
    EXPECT_EQ(sim.count("Secondary.Unlock"), unlocks);
    const std::vector<std::string> calls = soundCallsAfter(sim, known);
    const auto lock = std::ranges::find(calls, "Secondary.Lock");
    EXPECT_EQ(std::vector(lock, calls.end()),
              (std::vector<std::string>{"Secondary.Lock", "Secondary.Stop", "Primary.Release", "Secondary.Release",
                                        "DirectSound.Release"}));
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTrouble, LostBuffer_IsLoggedOnceAndNotRestored,
         "A buffer that is lost while it plays is logged once, counts as stopped, and is not restored.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(105);
    speaker.losesBuffers();
    sim.advance(1000);
    expectTrouble({kLost});
    expectLog(1, speaker, kLost);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_EQ(sim.count("Secondary.Restore"), 0u);
    EXPECT_EQ(sim.count("Secondary.GetStatus"), 0u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTrouble, LostBuffer_IsHeardAgainAfterAReopening,
         "After a loss nothing is heard any more; once the client has closed the device and opened it anew, it is "
         "heard again.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(500);
    speaker.losesBuffers();
    sim.advance(500);
    EXPECT_EQ(client.close(speaker), 0);
    client.waitForClosed();
    const std::size_t before = speaker.heard.audio.size();
    EXPECT_EQ(before, 500u * 192u);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(500);
    client.closeAndFinalize({&speaker});
    EXPECT_EQ(speaker.heard.audio.size(), before + 500u * 192u);
    NumberedChecker again(2, 16);
    again.feed(std::span(speaker.heard.audio).subspan(before));
    EXPECT_TRUE(again.unbroken());
    EXPECT_GT(again.frames(), 18'000u);
    expectTrouble({kLost});
}

SCENARIO(RenderTrouble, UnpluggedDevice_IsLoggedAndCanBeClosed,
         "A device that is unplugged while it plays is logged by its cursor read and its stop, and can be closed.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(105);
    speaker.unplug();
    sim.advance(500);
    expectTrouble({kNoDriver, kNoDriver});
    EXPECT_EQ(client.stop(speaker), 0);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTrouble, Unlock_FailingIsIgnored,
         "A failing unlock of a block changes nothing: no line, the block counts as written, the next one follows.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.on("Secondary.Unlock").fails(DSERR_NODRIVER);
    sim.advance(300);
    expectTrouble({});
    const std::vector<DWORD> blocks = writtenBlocks(sim);
    ASSERT_GT(blocks.size(), 10u);
    for (std::size_t i = 0; i < blocks.size(); ++i)
        EXPECT_EQ(blocks[i], i + 5);
    EXPECT_EQ(liveOfSize(sim, kBlockBytes), 10u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTrouble, FrozenCursor_IsStoppedAtOnce,
         "A device whose cursor stands still asks for nothing and is stopped the moment that it is told to.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(5007);
    EXPECT_EQ(client.requests.size(), 1u);
    const double ordered = sim.now();
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(1);
    ASSERT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_EQ(static_cast<double>(sim.calls("Secondary.Stop")[0].time) / kMillisecond, ordered);
    client.closeAndFinalize({&speaker});
    expectTrouble({});
}

SCENARIO(
    RenderTrouble, StopDuringACallback_WritesThatBlockAndNoOther,
    "A stop that comes while the client fills a block has that block written, and no other one asked for, even when "
    "more are due.") {
    Device& speaker = sim.playback("Speaker").freezes();
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        if (client.requestCount == 2)
            sim.spend(15);
        return client.fillNumberedBlock(device, block);
    };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    speaker.jumps(200);
    EXPECT_TRUE(sim.advanceUntil([&] { return client.requests.size() == 2; }));
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(500);
    EXPECT_EQ(writtenBlocks(sim), (std::vector<DWORD>{5, 6}));
    EXPECT_EQ(client.requests.size(), 2u);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    expectTrouble({});
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderTrouble, NoMemoryWhileOpening_AnswersMinus233,
    "When memory runs out anywhere while the worker opens a device, open answers -233 and leaves nothing behind.") {
    Device& speaker = sim.playback("Speaker").emulated().primaryRefuses(DSERR_BADFORMAT);
    EXPECT_EQ(client.initialize(), 0);
    unsigned failed = 0;
    for (unsigned n = 1; n < 100; ++n) {
        Rule* memory = nullptr;
        sim.on("CLSIDFromString").onCall(1).does([&] { memory = &sim.on("malloc").onCall(n).maybe().fails(); });
        const Opened opened = client.open(speaker);
        const unsigned hits = memory ? memory->hits() : 0;
        sim.script().clear();
        if (hits == 0) {
            EXPECT_EQ(opened.result, 0);
            break;
        }
        ++failed;
        EXPECT_EQ(opened.result, -233) << "allocation " << n;
        EXPECT_TRUE(sim.sound().living(speaker).empty());
        if (opened.result == 0) {
            client.close(speaker);
            client.waitForClosed();
        }
    }
    EXPECT_GE(failed, 2u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTrouble, NoMemoryInTheOpenCall_AnswersMinus1OrMinus233,
         "When memory runs out anywhere in an open call it answers -1 or -233, and the next call succeeds.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    unsigned failed = 0;
    for (unsigned n = 1; n < 100; ++n) {
        const Rule& memory = sim.on("malloc").onCall(n).maybe().fails();
        const BackendResult result = client.open(speaker).result;
        const unsigned hits = memory.hits();
        sim.script().clear();
        if (hits == 0) {
            EXPECT_EQ(result, 0);
            break;
        }
        ++failed;
        EXPECT_TRUE(result == -1 || result == -233) << "allocation " << n << " gives " << result;
    }
    EXPECT_GE(failed, 3u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTrouble, NoMemoryForAnErrorLine_KeepsTheCode,
         "When there is no memory for the line of a failing call the code is answered without it.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    sim.on("DirectSound.GetCaps").fails(DSERR_NODRIVER).does([&] { sim.on("malloc").onCall(1).fails(); });
    EXPECT_EQ(client.open(speaker).result, -230);
    sim.script().clear();
    expectTrouble({});
    client.finalize();
}

SCENARIO(
    RenderTrouble, NoMemoryForABlock_EndsTheLoopAndStops,
    "When memory runs out for a block or its records while a device plays, the loop ends and the device stops.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const unsigned n : {1u, 2u, 3u}) {
        EXPECT_EQ(client.open(speaker, contextId).result, 0);
        EXPECT_EQ(client.start(speaker, contextId), 0);
        sim.advance(100);
        const unsigned stops = sim.count("Secondary.Stop");
        const std::size_t requests = client.requests.size();
        const Rule& memory = sim.on("malloc").onCall(n).maybe().fails();
        speaker.jumps(20);
        sim.advance(100);
        EXPECT_EQ(memory.hits(), 1u) << "allocation " << n;
        EXPECT_EQ(sim.count("Secondary.Stop"), stops + 1) << "allocation " << n;
        speaker.jumps(200);
        sim.advance(100);
        EXPECT_LE(client.requests.size(), requests + 1);
        EXPECT_EQ(client.stop(speaker, contextId), 0);
        EXPECT_EQ(client.close(speaker, contextId++), 0);
        client.waitForClosed();
    }
    client.finalize();
}

SCENARIO(RenderTrouble, NoMemoryForATimingLine_LetsTheAudioGoOn,
         "When there is no memory for a line about timing the line is left out and the audio goes on.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    const std::string event = commandEvent(sim);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(101);
    Rule* memory = nullptr;
    sim.on("Secondary.GetCurrentPosition").onCall(1).takes(45).does([&] {
        memory = &sim.on("malloc").onCall(1).fails();
    });
    sim.advance(500);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(memory->hits(), 1u);
    sim.advance(500);
    EXPECT_EQ(sim.count("Secondary.Stop"), 0u);
    for (const std::string& line : client.logTexts(2))
        EXPECT_EQ(line.find("proc (2)"), std::string::npos) << line;
    client.closeAndFinalize({&speaker});
    EXPECT_TRUE(speaker.checkHeard().unbroken());
}
