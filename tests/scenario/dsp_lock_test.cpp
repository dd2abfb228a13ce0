// The DSP lock keeps audio callbacks away, and nothing else.
#include "scenario.h"

SCENARIO(DspLock, HeldByTheClient_NoCallbackComes,
         "While the client holds the DSP lock no audio callback runs, and audio goes on after it.") {
    Device& speaker = sim.playback("Speaker");
    Device& mic = sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    for (Device* device : {&speaker, &mic}) {
        EXPECT_EQ(client.open(*device).result, 0);
        EXPECT_EQ(client.start(*device), 0);
    }
    sim.advance(500);
    EXPECT_EQ(client.lockDsp(), 0);
    const auto requests = client.requestCount;
    const auto captured = client.capturedCount;
    EXPECT_GT(requests, 20u);
    EXPECT_GT(captured, 20u);
    sim.advance(1000);
    EXPECT_EQ(client.requestCount, requests);
    EXPECT_EQ(client.capturedCount, captured);
    EXPECT_EQ(client.unlockDsp(), 0);
    sim.advance(500);
    EXPECT_GT(client.requestCount, requests + 20);
    EXPECT_GT(client.capturedCount, captured + 20);
    client.closeAndFinalize({&speaker, &mic});
}

SCENARIO(DspLock, HeldByTheClient_StopAndCloseDoNotWait,
         "Stop and close of running devices end at once although the client holds the DSP lock.") {
    Device& speaker = sim.playback("Speaker");
    Device& mic = sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    for (Device* device : {&speaker, &mic}) {
        EXPECT_EQ(client.open(*device).result, 0);
        EXPECT_EQ(client.start(*device), 0);
    }
    sim.advance(100);
    EXPECT_EQ(client.lockDsp(), 0);
    sim.advance(200); // both loops want the lock now
    const double begin = sim.now();
    EXPECT_EQ(client.stop(speaker), 0);
    EXPECT_EQ(client.close(mic), 0);
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_EQ(sim.now(), begin);
    EXPECT_EQ(client.unlockDsp(), 0);
    client.finalize();
}

SCENARIO(DspLock, TakenAndReleasedTwice_StaysWithTheThread,
         "After two locks and two unlocks the thread still owns the section once, so no audio moves any more.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    client.lockDsp();
    client.lockDsp();
    client.unlockDsp();
    client.unlockDsp();
    const auto requests = client.requestCount;
    sim.advance(50); // the loop tries again without rest, because the event says that the lock is free
    EXPECT_EQ(client.requestCount, requests);
    sim.allowOwnedSectionAtRemoval(1);
    client.closeAndFinalize({&speaker});
}

SCENARIO(DspLock, LockDuringACallback_WaitsForItsEnd, "Taking the DSP lock waits for a running audio callback.") {
    Device& speaker = sim.playback("Speaker");
    client.onPlayback = [this](const std::string&, AudioBlock& block) {
        sim.spend(15);
        return block.frameCount;
    };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(5); // the first callback has 10 ms to go
    EXPECT_EQ(client.lockDsp(), 0);
    EXPECT_GE(sim.now(), 15);
    client.unlockDsp();
    client.closeAndFinalize({&speaker});
}
