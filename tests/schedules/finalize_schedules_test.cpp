// Finalize against the monitor, asleep and awake.
#include "scheduled_scenario.h"

ENUMERATED_SCHEDULES(
    FinalizeSchedules, MonitorThatJustStarts_IsToldToStop,
    "A finalize right after initialize reaches the monitor at once wherever its thread has got to.") {
    client.initialize();
    fromHereOn();
    atOnce([&] { EXPECT_EQ(client.finalize(), 0); });
}

ENUMERATED_SCHEDULES(FinalizeSchedules, MonitorThatJustWakes_IsToldToStop,
                     "A finalize in the very millisecond in which the monitor wakes is seen at once.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    Device& headset = sim.playback("Headset").absent();
    client.initialize();
    headset.hotplug();
    sim.advance(1999);
    fromHereOn();
    sim.advance(1);
    atOnce([&] { EXPECT_EQ(client.finalize(), 0); });
}

ENUMERATED_SCHEDULES(FinalizeSchedules, CloseWithoutWait_IsCarriedOutByMonitorOrFinalize,
                     "A finalize right after a close waits for the device, but never for the monitor's second, "
                     "whichever thread closes it.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    openAndStart(speaker);
    sim.advance(50);
    fromHereOn();
    atOnce([&] {
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.finalize(), 0);
    });
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
}
