// Start, stop and close of a playback device in detail.
#include "render_support.h"

using namespace scenario::render;

SCENARIO(RenderStart, Start_MakesThreeCallsAndIsAnsweredAfterThem,
         "Start locks the entire buffer, unlocks it and plays it looping, and nothing else.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    const std::size_t known = soundCalls(sim).size();
    std::vector<std::string> calls;
    sim.on("Secondary.GetCurrentPosition").onCall(1).does([&] { calls = soundCallsAfter(sim, known); });
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(1);
    EXPECT_EQ(calls, (std::vector<std::string>{"Secondary.Lock", "Secondary.Unlock", "Secondary.Play"}));
    EXPECT_EQ(sim.calls("Secondary.Lock").at(0).arguments, "0 0 flags 2");
    EXPECT_EQ(sim.calls("Secondary.Unlock").at(0).arguments, "192000 0");
    EXPECT_EQ(sim.calls("Secondary.Play").at(0).arguments, "0 0 flags 1");
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderStart, WhatTheBufferHeld_IsNotHeard,
         "Start silences the whole buffer: before the first block nothing of its former contents is heard.") {
    Device& speaker = sim.playback("Speaker");
    client.onPlayback = [](const std::string&, AudioBlock&) { return 0; };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    client.lockDsp(); // so that no block follows, and the rest of the buffer is heard
    sim.advance(1500);
    client.unlockDsp();
    client.closeAndFinalize({&speaker});
    const NumberedChecker heard = speaker.checkHeard();
    EXPECT_EQ(heard.garbage(), 0u);
    EXPECT_EQ(heard.leadIn(), 72000u);
}

SCENARIO(RenderStart, LockInTwoRegions_SilencesBoth, "A buffer that is locked in two regions is silenced in both.") {
    Device& speaker = sim.playback("Speaker").splitsLocks(100'000);
    client.onPlayback = [](const std::string&, AudioBlock&) { return 0; };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    EXPECT_EQ(sim.calls("Secondary.Unlock").at(0).arguments, "100000 92000");
    client.lockDsp();
    sim.advance(1500);
    client.unlockDsp();
    client.closeAndFinalize({&speaker});
    EXPECT_EQ(speaker.checkHeard().garbage(), 0u);
}

SCENARIO(RenderStart, FailingCall_EndsTheStart,
         "After a failing lock, unlock or play start calls nothing more; the device can only be closed, and is not "
         "stopped before that.") {
    struct Case {
        std::string call;
        BackendResult code;
        std::vector<std::string> calls;
    };
    const std::vector<Case> cases = {
        {"Secondary.Lock", -204, {"Secondary.Lock"}},
        {"Secondary.Unlock", -205, {"Secondary.Lock", "Secondary.Unlock"}},
        {"Secondary.Play", -221, {"Secondary.Lock", "Secondary.Unlock", "Secondary.Play"}},
    };
    const std::vector<std::string> released = {"Primary.Release", "Secondary.Release", "DirectSound.Release"};
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const Case& c : cases) {
        client.logs.clear();
        EXPECT_EQ(client.open(speaker, contextId).result, 0);
        const std::size_t known = soundCalls(sim).size();
        sim.on(c.call).onCall(1).fails(DSERR_NODRIVER);
        EXPECT_EQ(client.start(speaker, contextId), c.code) << c.call;
        expectTrouble({kNoDriver});
        expectLog(1, speaker, kNoDriver);
        EXPECT_EQ(client.start(speaker, contextId), -232);
        EXPECT_EQ(client.stop(speaker, contextId), 0);
        EXPECT_EQ(client.close(speaker, contextId++), 0);
        client.waitForClosed();
        std::vector<std::string> expected = c.calls;
        expected.insert(expected.end(), released.begin(), released.end());
        EXPECT_EQ(soundCallsAfter(sim, known), expected) << c.call;
    }
    EXPECT_TRUE(client.requests.empty());
    client.finalize();
}

SCENARIO(RenderStart, LostBuffer_CannotBeStarted,
         "A buffer that is lost before the start answers -204 with its line; nothing restores it.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    speaker.losesBuffers();
    EXPECT_EQ(client.start(speaker), -204);
    expectTrouble({kLost});
    EXPECT_EQ(sim.count("Secondary.Restore"), 0u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderStart, SecondStart_AnswersMinus232,
         "A device that runs, or has been stopped, answers -232 to a start.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    EXPECT_EQ(client.start(speaker), -232);
    sim.advance(100);
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(100);
    EXPECT_EQ(client.start(speaker), -232);
    EXPECT_EQ(sim.count("Secondary.Play"), 1u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderStop, Results_AreAcceptedOrLogged,
    "Stop takes 0 and a lost buffer as done; every other result, also another success code, is logged at level 1.") {
    struct Case {
        HRESULT result;
        std::vector<std::string> lines;
    };
    sim.system().messages[1] = L"Incorrect function.\r\n";
    sim.system().messages[0x0878000A] = L"";
    const std::vector<Case> cases = {
        {DS_OK, {}},
        {static_cast<HRESULT>(0x88780096), {}},
        {S_FALSE, {"unknown error: Incorrect function."}},
        {static_cast<HRESULT>(0x0878000A), {"unknown error: Unknown error 0x878000A"}},
        {DSERR_INVALIDCALL,
         {"unknown error: The call is not valid for the current state of this object (0x88780032)"}},
    };
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const Case& c : cases) {
        client.logs.clear();
        EXPECT_EQ(client.open(speaker, contextId).result, 0);
        EXPECT_EQ(client.start(speaker, contextId), 0);
        sim.advance(50);
        sim.on("Secondary.Stop").onCall(1).fails(c.result);
        EXPECT_EQ(client.stop(speaker, contextId), 0) << "stop does not wait for the result";
        sim.advance(50);
        expectTrouble(c.lines);
        for (const std::string& line : c.lines)
            expectLog(1, speaker, line);
        EXPECT_EQ(client.start(speaker, contextId), -232);
        EXPECT_EQ(client.close(speaker, contextId++), 0);
        client.waitForClosed();
    }
    client.finalize();
}

SCENARIO(RenderStop, Stop_StopsOnceAndReleasesTheObjects,
         "A stopped device has its buffer stopped once, asks for no more audio, and releases its objects at once.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(1);
    const auto requests = client.requests.size();
    sim.advance(3000);
    EXPECT_EQ(client.requests.size(), requests);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_EQ(client.stop(speaker), 0);
    client.closeAndFinalize({&speaker});
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
}

SCENARIO(RenderStop, CloseOfARunningDevice_StopsAndReleasesInOrder,
         "Closing a running device stops the buffer, then releases primary buffer, buffer and device object, on the "
         "worker.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(110);
    const std::size_t known = soundCalls(sim).size();
    client.closeAndFinalize({&speaker});
    EXPECT_EQ(soundCallsAfter(sim, known), (std::vector<std::string>{"Secondary.Stop", "Primary.Release",
                                                                     "Secondary.Release", "DirectSound.Release"}));
    EXPECT_EQ(sim.calls("Secondary.Stop").at(0).thread, "thread2");
    EXPECT_EQ(sim.calls("DirectSound.Release").at(0).thread, "thread2");
    expectTrouble({});
}

SCENARIO(RenderStop, FailingStopOfAClose_ReleasesAllTheSame,
         "A stop that fails while the device is closed is logged, and everything is released.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(110);
    sim.on("Secondary.Stop").fails(DSERR_NODRIVER);
    client.closeAndFinalize({&speaker});
    expectTrouble({kNoDriver});
    EXPECT_TRUE(sim.sound().living(speaker).empty());
}

SCENARIO(RenderStop, CloseOfAnIdleDevice_DoesNotStopIt, "Closing a device that never ran does not stop its buffer.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    client.closeAndFinalize({&speaker});
    EXPECT_EQ(sim.count("Secondary.Stop"), 0u);
    EXPECT_EQ(sim.count("Secondary.Lock"), 0u);
    EXPECT_EQ(sim.calls("Primary.Release").size(), 1u);
}

SCENARIO(RenderStop, PlayedBlocks_LiveUntilTheDeviceIsDestroyed,
         "The played blocks of a stopped device stay until it is closed, and are freed then.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(1000);
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(1000);
    EXPECT_EQ(liveOfSize(sim, kBlockBytes), 10u);
    EXPECT_EQ(client.close(speaker), 0);
    client.waitForClosed();
    EXPECT_EQ(liveOfSize(sim, kBlockBytes), 0u);
    client.finalize();
}
