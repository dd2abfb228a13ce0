// The capture loop when calls fail, memory runs out, or the client holds the DSP lock.
#include "capture_scenario.h"

namespace scenario {

// The loop has ended by itself: stopped, released, one line; and the client can still close the device.
static void expectEnded(Simulation& sim, Client& client, Device& microphone, const std::vector<std::string>& lines) {
    EXPECT_EQ(client.logTexts(1), lines);
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 1u);
    EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{});
    const std::uint64_t blocks = client.capturedCount;
    move(sim, microphone, 100);
    EXPECT_EQ(client.capturedCount, blocks);
    EXPECT_EQ(client.stop(microphone), 0);
    EXPECT_EQ(client.start(microphone), -232);
    client.closeAndFinalize({&microphone});
}

} // namespace scenario

SCENARIO(CaptureFaults, CursorNotReadable_EndsTheLoopWithALine,
         "A capture device whose cursor cannot be read is told of in one line, stopped and released.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    move(sim, microphone, 40);
    sim.on("CaptureBuffer.GetCurrentPosition").onCall(1).fails(kInvalidCall);
    sim.advance(50);
    EXPECT_EQ(client.capturedCount, 2u);
    expectLog(1, microphone, kInvalidCallLine);
    expectEnded(sim, client, microphone, {kInvalidCallLine});
}

SCENARIO(CaptureFaults, BufferNotLockable_EndsTheLoopWithALine,
         "A capture device whose buffer cannot be locked is told of in one line, stopped and released.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    sim.on("CaptureBuffer.Lock").onCall(3).fails(kInvalidCall);
    move(sim, microphone, 100);
    EXPECT_EQ(client.capturedCount, 2u);
    expectLog(1, microphone, kInvalidCallLine);
    expectEnded(sim, client, microphone, {kInvalidCallLine});
}

SCENARIO(CaptureFaults, FaultyLoopAndFaultyStop_GiveTwoLines,
         "A capture device that fails while it runs and then fails to stop is told of in two lines.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    sim.on("CaptureBuffer.Stop").fails(kInvalidCall);
    sim.on("CaptureBuffer.GetCurrentPosition").fails(kNoDriver);
    sim.advance(50);
    expectEnded(sim, client, microphone, {kNoDriverLine, kInvalidCallLine});
}

SCENARIO(CaptureFaults, UnlockFails_IsIgnored,
         "A failing unlock is ignored: the block reaches the client, and the loop goes on without a word.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    sim.on("CaptureBuffer.Unlock").onCall(1).fails(kInvalidCall);
    move(sim, microphone, 20);
    EXPECT_EQ(blockNumbers(client, microphone), numbersFrom(0, 1));
    const unsigned looks = sim.count("CaptureBuffer.GetCurrentPosition");
    sim.advance(50);
    EXPECT_GT(sim.count("CaptureBuffer.GetCurrentPosition"), looks);
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 0u);
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureFaults, NoMemoryForTheCopy_StopsTheDevice,
         "A capture device that gets no memory for a block stops without a line and without a callback.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    move(sim, microphone, 20);
    sim.on("malloc").onCall(1).fails();
    move(sim, microphone, 20);
    EXPECT_EQ(client.capturedCount, 1u);
    expectEnded(sim, client, microphone, {});
}

SCENARIO(CaptureFaults, NoMemoryForTheReference_LeavesTheDspLockFree,
         "A capture device that runs out of memory under the DSP lock gives the lock back.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    runFrozen(sim, client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    sim.on("malloc").onCall(2).fails(); // the copy of the block is the first
    move(sim, microphone, 20);
    EXPECT_EQ(client.capturedCount, 0u);
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 1u);
    EXPECT_EQ(client.lockDsp(), 0);
    EXPECT_EQ(client.unlockDsp(), 0);
    expectEnded(sim, client, microphone, {});
}

SCENARIO(CaptureFaults, MemoryFailsAnywhereWhileCapturing_DevicesStopAndNothingIsLeft,
         "Wherever memory runs out under a capture with echo reference, the "
         "device goes on or stops; nothing is left.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    for (unsigned n = 1; n <= 30; ++n) {
        openAndStart(client, speaker);
        openAndStart(client, microphone);
        EXPECT_EQ(client.associate(microphone, speaker).result, 0);
        sim.advance(200);
        const Rule& rule = sim.on("malloc").onCall(n).maybe().fails();
        sim.advance(300);
        EXPECT_EQ(rule.hits(), 1u) << n;
        sim.script().clear();
        EXPECT_EQ(client.close(microphone), 0);
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
    }
    expectTrouble({});
    client.finalize();
}

SCENARIO(CaptureFaults, ClientHoldsTheDspLock_BlocksComeAfterwards,
         "While the client holds the DSP lock no block comes; afterwards all of half a second come, none lost.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(200);
    EXPECT_EQ(client.lockDsp(), 0);
    const std::uint64_t blocks = client.capturedCount;
    sim.advance(450);
    EXPECT_EQ(client.capturedCount, blocks);
    EXPECT_EQ(client.unlockDsp(), 0);
    sim.advance(5);
    EXPECT_GE(client.capturedCount, blocks + 22);
    sim.advance(200);
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureFaults, ClientHoldsTheDspLockForLong_GoesOnAtThePresent,
         "After the client held the DSP lock for too long, the block that was ready comes, then the present.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    EXPECT_EQ(client.lockDsp(), 0);
    move(sim, microphone, 20);  // block 0 is copied and waits
    move(sim, microphone, 520); // 26 behind block 1
    EXPECT_TRUE(client.captured.empty());
    EXPECT_EQ(client.unlockDsp(), 0);
    sim.advance(25);
    move(sim, microphone, 20);
    EXPECT_EQ(blockNumbers(client, microphone), (std::vector<std::uint64_t>{0, 27}));
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureFaults, StopUnderTheDspLock_EndsAtOnceWithoutCallback,
         "A stop while the client holds the DSP lock ends the capture loop at once, without a callback.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    EXPECT_EQ(client.lockDsp(), 0);
    move(sim, microphone, 40);
    EXPECT_EQ(sim.count("CaptureBuffer.Lock"), 1u); // a block is ready and waits for the lock
    const double asked = sim.now();
    EXPECT_EQ(client.stop(microphone), 0);
    sim.advance(5);
    EXPECT_EQ(static_cast<double>(sim.calls("CaptureBuffer.Stop").at(0).time) / kMillisecond, asked);
    EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{});
    EXPECT_EQ(client.unlockDsp(), 0);
    sim.advance(100);
    EXPECT_TRUE(client.captured.empty());
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureFaults, CloseUnderTheDspLock_IsDoneWithoutCallback,
         "A capture device can be closed and waited for while the client holds the DSP lock.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    EXPECT_EQ(client.lockDsp(), 0);
    move(sim, microphone, 40);
    const double asked = sim.now();
    EXPECT_EQ(client.close(microphone), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_EQ(sim.now(), asked);
    EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{});
    EXPECT_EQ(client.unlockDsp(), 0);
    EXPECT_TRUE(client.captured.empty());
    client.finalize();
}

SCENARIO(CaptureFaults, LockDspFromAnotherThread_WaitsForTheCallback,
         "Taking the DSP lock waits for a running capture callback and for nothing else.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    double locked = 0;
    double left = 0;
    client.onCapture = [&](const std::string&, AudioBlock&, AudioBlock*) {
        sim.spend(70);
        left = sim.now();
    };
    microphone.jumps(20);
    sim.advance(10);
    EXPECT_EQ(client.lockDsp(), 0);
    locked = sim.now();
    EXPECT_EQ(client.unlockDsp(), 0);
    EXPECT_GT(left, 0.0);
    EXPECT_EQ(locked, left);
    client.closeAndFinalize({&microphone});
}
