// Lists and notifications against the monitor's rescan.
#include "scheduled_scenario.h"

#include <utility>

ENUMERATED_SCHEDULES(DiscoverySchedules, ListDuringARescan_IsTheOldOneOrTheNewOne,
                     "A client that lists devices and asks for the default one while the monitor swaps its lists "
                     "sees a whole list, the old one or the new one.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    Device& headset = sim.playback("Headset").absent();
    client.initialize();
    headset.hotplug();
    sim.sound().makeDefault(headset);
    sim.advance(1999);
    fromHereOn();
    sim.advance(1);
    std::size_t before = 1;
    for (int i = 0; i < 4; ++i) {
        const std::size_t listed = client.list(Direction::playback).size();
        EXPECT_GE(listed, before);
        EXPECT_LE(listed, 2u);
        EXPECT_EQ(client.defaultDevice(Direction::playback).result, 0);
        before = listed;
    }
    upToHere();
    sim.advance(1100);
    EXPECT_EQ(client.list(Direction::playback).size(), 2u);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    EXPECT_EQ(client.notifications.size(), 3u) << "added, its state, the new default";
    client.finalize();
}

ENUMERATED_SCHEDULES(DiscoverySchedules, ExportsFromTheNotification_DoNotDeadlock,
                     "A client that lists, closes and waits from inside the notification meets its own other thread "
                     "there without a deadlock.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& mic = sim.capture("Mic");
    Device& headset = sim.playback("Headset").absent();
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.open(mic).result, 0);
    bool told = false;
    client.onNotification = [&](const Notification&) {
        if (std::exchange(told, true))
            return;
        EXPECT_EQ(client.list(Direction::playback).size(), 2u);
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
        EXPECT_TRUE(sim.sound().living(speaker).empty());
    };
    headset.hotplug();
    sim.advance(1999);
    fromHereOn();
    sim.advance(1);
    EXPECT_EQ(client.list(Direction::capture).size(), 1u);
    sim.advance(1100);
    upToHere();
    EXPECT_TRUE(told);
    client.closeAndFinalize({&mic});
}
