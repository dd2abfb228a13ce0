// What notifyDeviceChange tells, and in which order.
#include "discovery.h"

SCENARIO(Notifications, DeviceAdded_CodeTwoThenActive,
         "A device that appears is reported as added (2, with its direction) and then as active (4, with 1).") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    Device& headset = sim.playback("Headset").absent();
    Device& line = sim.capture("Line").absent();
    client.initialize();
    headset.hotplug();
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    client.notifications.clear();
    line.hotplug();
    sim.advance(kUntilRescan);
    expectNotifications({"2 Line 2", "4 Line 1"});
    client.finalize();
}

SCENARIO(Notifications, DeviceRemoved_NotPresentThenCodeThree,
         "A device that disappears is reported as not present (4, with 4) and then as removed (3, with its "
         "direction).") {
    sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Microphone");
    Device& line = sim.capture("Line");
    client.initialize();
    headset.vanish();
    sim.advance(kUntilRescan);
    expectNotifications({"4 Headset 4", "3 Headset 1"});
    client.notifications.clear();
    line.vanish();
    sim.advance(kUntilRescan);
    expectNotifications({"4 Line 4", "3 Line 2"});
    client.finalize();
}

SCENARIO(Notifications, DefaultChanges_CodeOneWithDirection,
         "A change of the default voice device alone is reported by one event, 1 with the new default and its "
         "direction.") {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    Device& microphone = sim.capture("Microphone");
    Device& line = sim.capture("Line");
    sim.sound().makeDefault(speaker);
    sim.sound().makeDefault(microphone);
    client.initialize();
    sim.sound().makeDefault(headset);
    sim.advance(kUntilRescan);
    expectNotifications({"1 Headset 1"});
    client.notifications.clear();
    sim.sound().makeDefault(line);
    sim.advance(kUntilRescan);
    expectNotifications({"1 Line 2"});
    client.notifications.clear();
    sim.sound().makeDefault(speaker);
    sim.sound().makeDefault(microphone);
    sim.advance(kUntilRescan);
    expectNotifications({"1 Speaker 1", "1 Microphone 2"});
    client.finalize();
}

SCENARIO(Notifications, NewDeviceBecomesDefault_CodeOneFollowsItsArrival,
         "When a new device becomes the default, too, event 1 follows its events 2 and 4 in the same rescan.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    Device& headset = sim.playback("Headset").absent();
    client.initialize();
    headset.hotplug();
    sim.sound().makeDefault(headset);
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1", "1 Headset 1"});
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    client.finalize();
}

SCENARIO(
    Notifications, DefaultRemoved_NewDefaultComesBeforeTheRemoval,
    "When the default device disappears, the new default is reported first, and then that the old one is gone.") {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Microphone");
    sim.sound().makeDefault(headset);
    client.initialize();
    headset.vanish();
    sim.advance(kUntilRescan);
    expectNotifications({"1 Speaker 1", "4 Headset 4", "3 Headset 1"});
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    client.finalize();
}

SCENARIO(Notifications, AllAtOnce_PlaybackBeforeCaptureInGuidOrder,
         "One rescan tells everything: playback before capture; in each first the added devices, then the default, "
         "then the removed ones, added and removed in GUID order.") {
    Device& p1 = sim.playback("P1");
    Device& p2 = sim.playback("P2");
    Device& p3 = sim.playback("P3");
    Device& p4 = sim.playback("P4").withGuid({0x00000002, 0xFFFF, 0, {}}).absent();
    Device& p5 = sim.playback("P5").withGuid({0x00000001, 0xFFFF, 0, {}}).absent();
    Device& c1 = sim.capture("C1");
    Device& c2 = sim.capture("C2").absent();
    sim.sound().makeDefault(p2);
    client.initialize();
    p4.hotplug();
    p5.hotplug();
    p3.vanish();
    p1.vanish();
    c2.hotplug();
    c1.vanish();
    sim.sound().makeDefault(p5);
    sim.advance(kUntilRescan);
    expectNotifications({"2 P5 1", "4 P5 1", "2 P4 1", "4 P4 1", "1 P5 1", "4 P1 4", "3 P1 1", "4 P3 4", "3 P3 1",
                         "2 C2 2", "4 C2 1", "1 C2 2", "4 C1 4", "3 C1 2"});
    for (const Notification& notification : client.notifications)
        EXPECT_EQ(notification.time, client.notifications[0].time);
    client.finalize();
}

SCENARIO(Notifications, DeviceReplacedByAnother_ListAgreesInsideTheCallback,
         "While the client is told of a change, enumeration already answers with the new list, and no lock is held: "
         "the client may call other exports.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    Device& headset = sim.playback("Headset").absent();
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    unsigned seen = 0;
    client.onNotification = [&](const Notification&) {
        if (++seen > 1)
            return;
        EXPECT_EQ(ids(client.list(Direction::playback)), (Texts{speaker.id(), headset.id()}));
        EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
        client.lockDsp();
        client.unlockDsp();
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0); // on the monitor's own thread
        EXPECT_TRUE(sim.sound().living(speaker).empty());
    };
    headset.hotplug();
    sim.advance(kUntilRescan);
    EXPECT_EQ(seen, 2u);
    expectErrorLines({"Waiting for device to close"});
    client.finalize();
}

SCENARIO(Notifications, NoGuidText_IdentifierIsEmpty,
         "When the text of a GUID cannot be made or converted, the device is reported with an empty identifier.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    Device& headset = sim.playback("Headset").absent();
    client.initialize();
    headset.hotplug();
    sim.on("StringFromCLSID").onCall(1).fails(static_cast<long long>(E_OUTOFMEMORY));
    sim.advance(kUntilRescan);
    expectNotifications({"2  1", "4 Headset 1"});
    expectOutputLines({});
    client.notifications.clear();
    headset.vanish();
    const unsigned converted = sim.count("WideCharToMultiByte");
    sim.on("StringFromCLSID").onCall(1).does([&] {
        // The next conversion is that of the identifier.
        sim.on("WideCharToMultiByte").onCall(1).failsWithError(ERROR_INSUFFICIENT_BUFFER);
    });
    sim.advance(kUntilRescan);
    expectNotifications({"4  4", "3 Headset 1"});
    EXPECT_GT(sim.count("WideCharToMultiByte"), converted);
    expectErrorLines({"buffer too small"});
    client.finalize();
}

SCENARIO(Notifications, DeviceRenamed_NothingUntilAnotherChange,
         "A device that only changes its description is not reported and keeps its old one in the list, until a "
         "rescan replaces the list for another reason.") {
    Device& speaker = sim.playback("Speaker").named(L"old");
    Device& microphone = sim.capture("Microphone").named(L"old");
    client.initialize();
    speaker.named(L"new");
    microphone.named(L"new");
    sim.advance(3 * kUntilRescan);
    expectNotifications({});
    EXPECT_EQ(names(client.list(Direction::playback)), Texts{"old"});
    EXPECT_EQ(client.defaultDevice(Direction::capture).name, "old");
    sim.playback("Headset").named(L"headset");
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    EXPECT_EQ(names(client.list(Direction::playback)), (Texts{"new", "headset"}));
    EXPECT_EQ(client.defaultDevice(Direction::capture).name, "new");
    client.finalize();
}

SCENARIO(Notifications, NothingChanged_NothingIsTold,
         "While nothing changes, nothing is told, however long it takes; rescans read the defaults, but list "
         "nothing.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.advance(60'000);
    expectNotifications({});
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 1u);
    EXPECT_EQ(sim.count("DirectSoundCaptureEnumerateW"), 1u);
    EXPECT_GT(sim.count("GetDeviceID"), 50u);
    expectTrouble({});
    expectErrorLines({});
    client.finalize();
}

SCENARIO(Notifications, ClientChangesItsTable_CopyIsUsed,
         "The monitor uses its own copy of the client's table: what the client writes there later changes nothing.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    client.callbacks = {};
    sim.playback("Headset");
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    client.finalize();
}

SCENARIO(Notifications, AddedAndRemovedBetweenRescans_NothingIsTold,
         "A device that comes and goes between two rescans is never told of.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    Device& headset = sim.playback("Headset").absent();
    client.initialize();
    headset.hotplug();
    sim.advance(500);
    headset.vanish();
    sim.advance(5000);
    expectNotifications({});
    client.finalize();
}

SCENARIO(Notifications, DeviceSwappedWithSameCount_ToldWhenTheDefaultChanges,
         "On a system of version 6.0 or later a device that is swapped for another, so that the counts stay, is told "
         "of together with the change of the default.") {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset").absent();
    sim.capture("Microphone");
    client.initialize();
    speaker.vanish();
    headset.hotplug();
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1", "1 Headset 1", "4 Speaker 4", "3 Speaker 1"});
    client.finalize();
}

SCENARIO(Notifications, RandomSchedule_ClientListsWhileDevicesComeAndGo,
         "Client threads that list devices while others come and go always see a whole list, and each change is "
         "told once.") {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset").absent();
    sim.capture("Microphone");
    sim.randomSchedule(317);
    client.initialize();
    bool done = false;
    unsigned lists = 0;
    for (int i = 0; i < 2; ++i) {
        sim.thread("lister", [&] {
            while (!done) {
                const Texts seen = ids(client.list(Direction::playback));
                EXPECT_TRUE(seen == Texts{speaker.id()} || seen == (Texts{speaker.id(), headset.id()}));
                EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
                ++lists;
                sim.advance(100);
            }
        });
    }
    for (int i = 0; i < 5; ++i) {
        headset.hotplug();
        sim.advance(kUntilRescan);
        headset.vanish();
        sim.advance(kUntilRescan);
    }
    done = true;
    sim.advance(200);
    EXPECT_GT(lists, 100u);
    EXPECT_EQ(client.notifications.size(), 20u);
    client.finalize();
}
