// The DSP lock against both loops.
#include "scheduled_scenario.h"

#include <utility>

ENUMERATED_SCHEDULES(DspLockSchedules, LockAndUnlockAtEveryWake_NeitherLoopLosesABlock,
                     "However locking and unlocking meet the loops, no audio callback runs under the client's lock, "
                     "the lock is free at once, and no block is lost.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& mic = sim.capture("Mic");
    client.initialize();
    openAndStart(speaker);
    openAndStart(mic);
    sim.advance(100);
    fromHereOn();
    for (int wakes = 0; wakes < 4; ++wakes) {
        untilNextWake();
        atOnce([&] {
            EXPECT_EQ(client.lockDsp(), 0);
            EXPECT_EQ(client.unlockDsp(), 0);
        });
    }
    upToHere();
    sim.advance(100);
    client.closeAndFinalize({&speaker, &mic});
    EXPECT_TRUE(client.checkCaptured(mic).unbroken());
    EXPECT_TRUE(speaker.checkHeard().unbroken());
}

ENUMERATED_SCHEDULES(DspLockSchedules, UnlockAfterAWhile_WakesBothLoopsAtOnce,
                     "Both loops wait while a client holds the DSP lock, and go on at once when it is given back: "
                     "none misses the unlock.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& mic = sim.capture("Mic");
    client.initialize();
    openAndStart(speaker);
    openAndStart(mic);
    sim.advance(100);
    EXPECT_EQ(client.lockDsp(), 0);
    const std::size_t captured = client.captured.size();
    const std::size_t requested = client.requests.size();
    sim.advance(25);
    EXPECT_EQ(client.captured.size(), captured);
    EXPECT_EQ(client.requests.size(), requested);
    EXPECT_EQ(client.unlockDsp(), 0);
    fromHereOn(); // takes it and gives it back once more
    sim.advance(1);
    EXPECT_EQ(client.lockDsp(), 0);
    sim.advance(25);
    atOnce([&] {
        EXPECT_EQ(client.unlockDsp(), 0);
        EXPECT_EQ(client.lockDsp(), 0);
        EXPECT_EQ(client.unlockDsp(), 0);
    });
    const double unlocked = sim.now();
    sim.advance(1);
    EXPECT_EQ(client.captured.back().time, unlocked);
    EXPECT_EQ(client.requests.back().time, unlocked);
    upToHere();
    sim.advance(100);
    client.closeAndFinalize({&speaker, &mic});
    EXPECT_TRUE(client.checkCaptured(mic).unbroken());
    EXPECT_TRUE(speaker.checkHeard().unbroken());
}

ENUMERATED_SCHEDULES(DspLockSchedules, TwoClientThreads_TakeTurns,
                     "Two client threads that lock and unlock beside a loop never hold the lock together and never "
                     "keep each other or the loop out for good.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    openAndStart(speaker);
    sim.advance(100);
    bool inside = false;
    const auto lockAtTheNextWakes = [&] {
        for (int wakes = 0; wakes < 2; ++wakes) {
            untilNextWake();
            EXPECT_EQ(client.lockDsp(), 0);
            EXPECT_FALSE(std::exchange(inside, true));
            sim.scheduler().point("changes its signal processing");
            inside = false;
            EXPECT_EQ(client.unlockDsp(), 0);
        }
    };
    fromHereOn();
    const ClientThread other = sim.thread("other", lockAtTheNextWakes);
    lockAtTheNextWakes();
    sim.advance(100);
    EXPECT_TRUE(other.finished());
    upToHere();
    client.closeAndFinalize({&speaker});
    EXPECT_TRUE(speaker.checkHeard().unbroken());
}

ENUMERATED_SCHEDULES(DspLockSchedules, StopAndCloseUnderTheLock_AreNotHeldUp,
                     "A client that holds the DSP lock stops and closes both devices and waits for them, at once, "
                     "whatever the loops are doing.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& mic = sim.capture("Mic");
    client.initialize();
    openAndStart(speaker);
    openAndStart(mic);
    sim.advance(100);
    fromHereOn();
    untilNextWake();
    atOnce([&] { EXPECT_EQ(client.lockDsp(), 0); });
    stopAtOnce(speaker);
    atOnce([&] {
        EXPECT_EQ(client.close(mic), 0);
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
        EXPECT_EQ(client.unlockDsp(), 0);
    });
    upToHere();
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_TRUE(sim.sound().living(mic).empty());
    client.finalize();
}
