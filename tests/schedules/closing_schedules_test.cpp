// Close and wait for closed devices against workers and the monitor.
#include "scheduled_scenario.h"

ENUMERATED_SCHEDULES(ClosingSchedules, RunningDevices_AreGoneAfterTheWait,
                     "However client, workers and monitor interleave, two running devices that were closed are gone "
                     "when the wait returns, at once, and no callback comes for them any more.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& mic = sim.capture("Mic");
    client.initialize();
    openAndStart(speaker);
    openAndStart(mic);
    sim.advance(100);
    fromHereOn();
    atOnce([&] {
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.close(mic), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
    });
    upToHere();
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_TRUE(sim.sound().living(mic).empty());
    client.finalize();
}

ENUMERATED_SCHEDULES(ClosingSchedules, CloseAndOpenAgain_TheOldContextDoesNotDisturbTheNew,
                     "A device may be opened again right after its close, while the monitor still ends the old "
                     "worker; the next wait waits for what is closed by then.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.advance(1);
    fromHereOn();
    atOnce([&] {
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.open(speaker, 8).result, 0);
        EXPECT_EQ(client.close(speaker, 8), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
    });
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    upToHere();
    client.finalize();
}

ENUMERATED_SCHEDULES(ClosingSchedules, WaitAfterEveryClose_NeverMissesTheEnd,
                     "A wait after each of two closes ends at once and with the device gone, also when the monitor "
                     "empties its list between close and wait.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.advance(1);
    fromHereOn();
    atOnce([&] {
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
        EXPECT_TRUE(sim.sound().living(speaker).empty());
        EXPECT_EQ(client.open(speaker).result, 0);
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
        EXPECT_TRUE(sim.sound().living(speaker).empty());
    });
    upToHere();
    client.finalize();
}

ENUMERATED_SCHEDULES(ClosingSchedules, CloseDuringARescan_WaitsForNoneButTheRescan,
                     "A close that meets the monitor in the middle of a rescan loses neither the closing nor the "
                     "notification.") {
    const Device& speaker = sim.playback("Speaker");
    sim.capture("Mic");
    Device& headset = sim.playback("Headset").absent();
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    headset.hotplug();
    sim.advance(1999);
    fromHereOn();
    sim.advance(1); // the monitor wakes, too
    atOnce([&] {
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
    });
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    upToHere();
    sim.advance(1100);
    EXPECT_EQ(client.notifications.size(), 2u);
    client.finalize();
}
