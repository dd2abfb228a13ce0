// Open, start, stop and close against the worker, and several at once.
#include "scheduled_scenario.h"

ENUMERATED_SCHEDULES(LifecycleSchedules, PlaybackOpenStartStopClose_AnsweredAtOnce,
                     "However client and worker interleave, open, start, stop and close of a playback device succeed "
                     "at once, and the stop reaches the device at once.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.advance(1); // the monitor sleeps
    fromHereOn();
    atOnce([&] { openAndStart(speaker); });
    stopAtOnce(speaker);
    atOnce([&] {
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
    });
    upToHere();
    EXPECT_EQ(sim.count("Secondary.Play"), 1u);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    client.finalize();
}

ENUMERATED_SCHEDULES(LifecycleSchedules, CaptureOpenStartStopClose_AnsweredAtOnce,
                     "However client and worker interleave, open, start, stop and close of a capture device succeed "
                     "at once, and the stop reaches the device at once.") {
    const Device& mic = sim.capture("Mic");
    client.initialize();
    sim.advance(1);
    fromHereOn();
    atOnce([&] { openAndStart(mic); });
    sim.advance(41);
    stopAtOnce(mic);
    atOnce([&] {
        EXPECT_EQ(client.close(mic), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
    });
    upToHere();
    EXPECT_EQ(sim.count("CaptureBuffer.Start"), 1u);
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 1u);
    EXPECT_TRUE(sim.sound().living(mic).empty());
    EXPECT_TRUE(client.captured.empty() || client.checkCaptured(mic).unbroken());
    client.finalize();
}

ENUMERATED_SCHEDULES(LifecycleSchedules, StopWhileBlocksAreFetched_EndsTheLoopAtOnce,
                     "A stop that meets the worker at its blocks ends the loop at once, and what was played until "
                     "then is in order.") {
    const Device& speaker = sim.playback("Speaker").cursorLead(15);
    client.initialize();
    openAndStart(speaker);
    sim.advance(100);
    fromHereOn();
    for (int wakes = 0; wakes < 4; ++wakes)
        untilNextWake();
    stopAtOnce(speaker);
    EXPECT_EQ(client.close(speaker), 0); // also wakes the monitor
    upToHere();
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    const NumberedChecker heard = speaker.checkHeard();
    EXPECT_EQ(heard.breaks() + heard.silence() + heard.garbage(), 0u);
    client.waitForClosed();
    client.finalize();
}

ENUMERATED_SCHEDULES(LifecycleSchedules, OpenThatFails_LeavesNothingBehind,
                     "An open that fails has ended its worker and released the device when it returns, in any order "
                     "of the threads, and the next open succeeds.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.advance(1);
    sim.on("Secondary.GetFormat").onCall(1).fails(DSERR_OUTOFMEMORY);
    fromHereOn();
    atOnce([&] {
        EXPECT_EQ(client.open(speaker).result, -214);
        EXPECT_TRUE(sim.sound().living(speaker).empty());
        EXPECT_EQ(sim.scheduler().living(ThreadKind::plugin).size(), 1u) << "but for the monitor";
        openAndStart(speaker);
    });
    upToHere();
    client.closeAndFinalize({&speaker});
}
