// Waiting for closed devices.
#include "scenario.h"

SCENARIO(WaitForClosed, NothingClosing_ReturnsInSilence,
         "With nothing to wait for, the wait returns 0 at once and writes nothing.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    const double before = sim.now();
    EXPECT_EQ(client.waitForClosed(), 0);
    client.open(speaker);
    EXPECT_EQ(client.waitForClosed(), 0);
    client.close(speaker);
    sim.advance(10);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_DOUBLE_EQ(sim.now(), before + 10);
    expectErrorLines({});
    client.finalize();
}

SCENARIO(
    WaitForClosed, DevicesClosing_AreWaitedForWithALine,
    "A wait that has to wait writes \"Waiting for device to close\" once and returns when all devices are gone.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    sim.advance(1500); // the monitor has found nothing to close meanwhile, which must not count
    sim.on("Secondary.Stop").takes(100);
    sim.on("CaptureBuffer.Stop").takes(200);
    const double before = sim.now();
    client.close(speaker);
    client.close(microphone);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_GE(sim.now() - before, 299);
    EXPECT_LE(sim.now() - before, 301);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_TRUE(sim.sound().living(microphone).empty());
    expectErrorLines({"Waiting for device to close"});
    client.finalize();
}

SCENARIO(WaitForClosed, DevicesClosing_AreClosedInTheOrderOfTheirCloses,
         "Closed devices are ended one after the other, in the order in which the client closed them.") {
    const Device& first = sim.playback("First");
    const Device& second = sim.playback("Second");
    client.initialize();
    for (const Device* device : {&first, &second}) {
        client.open(*device);
        client.start(*device);
    }
    sim.advance(100);
    sim.on("Secondary.Stop").takes(100);
    client.close(second);
    client.close(first);
    sim.advance(50);
    client.waitForClosed();
    const std::vector<CallRecord> stops = sim.calls("Secondary.Stop");
    ASSERT_EQ(stops.size(), 2u);
    EXPECT_EQ(stops[0].subject, "Second");
    EXPECT_EQ(stops[1].subject, "First");
    client.finalize();
}

SCENARIO(WaitForClosed, DeviceThatIsBeingEnded_IsStillWaitedFor,
         "A device that the monitor is already ending is waited for like one that it has not begun with.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(100);
    sim.on("Secondary.Stop").takes(300);
    const double before = sim.now();
    client.close(speaker);
    sim.advance(100);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_EQ(sim.now(), before + 300);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    expectErrorLines({"Waiting for device to close"});
    client.finalize();
}

SCENARIO(
    WaitForClosed, DeviceThatHasBeenEnded_IsWaitedForUntilItIsTakenOffTheList,
    "A device that the monitor has ended is waited for until the monitor has taken it off the list, for which it "
    "may have to wait itself.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(100);
    const std::string monitor = "S4"; // the section
    client.close(speaker);
    // The monitor enters it twice around the reset of its event, for the list, and when the device is gone.
    sim.on("EnterCriticalSection").of(monitor).onCall(4).takes(100);
    const double closed = sim.now();
    sim.advance(50);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_EQ(sim.now(), closed + 100);
    expectErrorLines({"Waiting for device to close"});
    client.finalize();
}

SCENARIO(WaitForClosed, MonitorThreadEndedEarly_WaitsWithoutEnd,
         "When the monitor's thread has ended for want of COM nobody closes the devices, and the wait for them does "
         "not return; one with nothing to wait for does.") {
    const Device& speaker = sim.playback("Speaker");
    sim.system().messages[0x80010106] = L"Another apartment.";
    sim.on("CoInitializeEx").onCall(1).fails(RPC_E_CHANGED_MODE);
    client.initialize();
    sim.advance(1);
    EXPECT_EQ(client.waitForClosed(), 0);
    client.open(speaker);
    client.close(speaker);
    EXPECT_TRUE(hangs([this] { client.waitForClosed(); }));
    EXPECT_EQ(sim.errorLines().back(), "Waiting for device to close");
    EXPECT_FALSE(sim.sound().living(speaker).empty());
    endsStuck = true; // the wait still waits
}

SCENARIO(WaitForClosed, InsideANotification_ClosesOnTheMonitorThread,
         "Inside a notification the wait closes the devices on the monitor thread itself and returns when they are "
         "gone.") {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset").absent();
    sim.capture("Microphone");
    unsigned waits = 0;
    client.onNotification = [&](const Notification& notification) {
        if (notification.event != 2)
            return;
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
        EXPECT_TRUE(sim.sound().living(speaker).empty());
        ++waits;
    };
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    headset.hotplug();
    sim.advance(2500);
    EXPECT_EQ(waits, 1u);
    expectErrorLines({"Waiting for device to close"});
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    client.finalize();
}

SCENARIO(WaitForClosed, DeviceTakesLongToStop_OtherExportsDoNotWait,
         "While a closed device takes its time to stop, devices are listed and others closed without delay.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    sim.on("Secondary.Stop").takes(500);
    const double before = sim.now();
    EXPECT_EQ(client.close(speaker), 0);
    sim.advance(10);
    EXPECT_EQ(client.list(Direction::playback).size(), 1u);
    EXPECT_EQ(client.close(microphone), 0);
    EXPECT_LT(sim.now() - before, 20);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_GE(sim.now() - before, 500);
    client.finalize();
}
