// Lists of devices, the monitor thread and its notifications.
#include "scenario.h"

namespace {

std::vector<std::string> names(const std::vector<simulator::ListedDevice>& devices) {
    std::vector<std::string> found;
    for (const auto& device : devices)
        found.push_back(device.name);
    return found;
}

using Names = std::vector<std::string>;

} // namespace

SCENARIO(Discovery, Lists_AreInTheOrderOfTheGuids,
         "Devices are listed by GUID, field by field, whatever their names and the system's order.") {
    sim.playback("C").withGuid({2, 0, 0, {}});
    sim.playback("B").withGuid({1, 5, 0, {}});
    sim.playback("A").withGuid({1, 2, 9, {}});
    sim.playback("D").withGuid({0xFFFFFFFF, 0, 0, {}});
    sim.playback("E").withGuid({1, 2, 9, {1}});
    sim.capture("Mic").withGuid({7, 0, 0, {}});
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(names(client.list(Direction::playback)), (Names{"A", "E", "B", "C", "D"}));
    EXPECT_EQ(names(client.list(Direction::capture)), (Names{"Mic"}));
    client.finalize();
}

SCENARIO(Discovery, OneDirectionWithoutDevice_LeavesBothListsEmpty,
         "Without a device in one direction the default cannot be asked for, and both lists stay empty.") {
    sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(client.list(Direction::playback).empty());
    EXPECT_TRUE(client.list(Direction::capture).empty());
    client.finalize();
}

SCENARIO(Discovery, OnlyThePrimaryEntry_GivesAnEmptyList,
         "The primary entry without a GUID is no device; an empty list is no error.") {
    sim.playback("Primary").withoutGuid();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(client.list(Direction::playback).empty());
    client.finalize();
}

SCENARIO(Discovery, Record_HoldsIdentifierAndName,
         "A record holds the 38 characters of the GUID text and the name with its length; the rest is zero.") {
    Device& mic = sim.capture("Mic").named(L"M\u00fcller \u4e2d");
    sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    const auto devices = client.list(Direction::capture);
    ASSERT_EQ(devices.size(), 1u);
    const DeviceInfoRecord& record = devices[0].record;
    EXPECT_EQ(record.idLength, 38);
    EXPECT_EQ(devices[0].id, mic.id());
    EXPECT_EQ(record.nameLength, 11);
    EXPECT_EQ(devices[0].name, "M\xC3\xBCller \xE4\xB8\xAD");
    EXPECT_EQ(record.reserved, 0);
    client.finalize();
}

SCENARIO(
    Discovery, LongNames_AreCutOrSkipped,
    "A name of 254 bytes passes and is cut after 247; one of 255 bytes is skipped with a line on standard error.") {
    sim.playback("Short").named(std::wstring(247, L'a'));
    sim.playback("Cut").named(std::wstring(254, L'b'));
    sim.playback("Skipped").named(std::wstring(255, L'c'));
    sim.playback("Empty").named(L"");
    sim.playback("None").withoutName();
    sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(names(client.list(Direction::playback)), (Names{std::string(247, 'a'), std::string(247, 'b'), ""}));
    EXPECT_EQ(client.list(Direction::playback).at(1).record.nameLength, 247);
    expectErrorLines({"buffer too small"});
    client.finalize();
}

SCENARIO(Discovery, Arrival_IsToldAsAddedAndActive,
         "Within about a second a new device is told as added and active, with no lock held and on the monitor.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    Device& headset = sim.playback("Headset").absent();
    EXPECT_EQ(client.initialize(), 0);
    sim.advance(2500);
    expectNotifications({});
    client.onNotification = [this](const Notification&) {
        EXPECT_TRUE(sim.kernel().ownedBy(*Scheduler::current()).empty()) << "a lock is held";
        EXPECT_EQ(Scheduler::current()->kind, ThreadKind::plugin);
    };
    headset.hotplug();
    const double plugged = sim.now();
    EXPECT_TRUE(sim.advanceUntil([this] { return client.notifications.size() == 2; }));
    EXPECT_LE(sim.now() - plugged, 2100);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    EXPECT_EQ(names(client.list(Direction::playback)), (Names{"Speaker", "Headset"}));
    client.finalize();
}

SCENARIO(Discovery, Removal_IsToldAsNotPresentAndRemoved, "An unplugged device is told as not present and removed.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    Device& headset = sim.capture("Headset");
    EXPECT_EQ(client.initialize(), 0);
    headset.unplug();
    sim.advance(3000);
    expectNotifications({"4 Headset 4", "3 Headset 2"});
    EXPECT_EQ(names(client.list(Direction::capture)), (Names{"Mic"}));
    client.finalize();
}

SCENARIO(Discovery, NewDefault_IsToldAfterItsArrivalAndBeforeRemovals,
         "In one rescan: playback before capture; added, then the new default, then removed.") {
    Device& speaker = sim.playback("Speaker");
    Device& mic = sim.capture("Mic");
    Device& headset = sim.playback("Headset").absent();
    Device& boom = sim.capture("Boom").absent();
    EXPECT_EQ(client.initialize(), 0);
    sim.advance(1500);
    headset.hotplug();
    sim.sound().makeDefault(headset);
    speaker.unplug();
    boom.hotplug();
    mic.unplug();
    sim.advance(3000);
    expectNotifications({"2 Headset 1", "4 Headset 1", "1 Headset 1", "4 Speaker 4", "3 Speaker 1", //
                         "2 Boom 2", "4 Boom 1", "1 Boom 2", "4 Mic 4", "3 Mic 2"});
    client.finalize();
}

SCENARIO(
    Discovery, OtherName_ComesInSilently,
    "A device that keeps its GUID and changes its name is not told; the next replacing rescan brings the name.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    speaker.named(L"Renamed");
    sim.advance(3000);
    expectNotifications({});
    EXPECT_EQ(names(client.list(Direction::playback)), (Names{"Speaker"}));
    client.finalize();
}

SCENARIO(Discovery, DefaultQueryFails_KeepsTheLists,
         "While the default voice devices cannot be asked for, no rescan changes any list.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    Device& headset = sim.playback("Headset").absent();
    EXPECT_EQ(client.initialize(), 0);
    Rule& failing = sim.on("GetDeviceID").fails(DSERR_NODRIVER);
    headset.hotplug();
    sim.advance(5000);
    expectNotifications({});
    EXPECT_EQ(client.list(Direction::playback).size(), 1u);
    EXPECT_GE(failing.hits(), 2u);
    client.finalize();
}

SCENARIO(Discovery, FirstDefaultQueryFails_BothListsAreEmpty,
         "When the default voice device cannot be asked for in the first scan, both lists stay empty.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    sim.on("GetDeviceID").of("capture").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(client.list(Direction::playback).empty());
    EXPECT_TRUE(client.list(Direction::capture).empty());
    client.finalize();
}

SCENARIO(Discovery, CounterFails_EndsTheMonitor,
         "A failing performance counter at the start ends the monitor thread with a line; finalize still closes.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    sim.on("QueryPerformanceCounter").failsWithError(31);
    EXPECT_EQ(client.initialize(), 0);
    sim.advance(1);
    expectErrorLines({"error during QueryPerformanceCounter31"});
    client.finalize();
}

SCENARIO(Discovery, FrequencyFails_EndsTheMonitorWithoutLeavingCom,
         "A failing frequency read ends the monitor thread with a line; COM stays initialized on it.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    sim.on("QueryPerformanceFrequency").failsWithError(31);
    EXPECT_EQ(client.initialize(), 0);
    sim.advance(1100);
    expectErrorLines({"error during QueryPerformanceFrequency31"});
    client.finalize();
    sim.expectLeft(Kind::comInitialization, 1);
}

SCENARIO(Discovery, OldSystem_RescansOnCountsAndPreferredDevice,
         "Before version 6.0 nothing is rescanned until a wave count or the preferred voice device changes.") {
    sim.system().majorVersion = 5;
    sim.playback("Speaker");
    sim.capture("Mic");
    Device& headset = sim.playback("Headset").absent();
    EXPECT_EQ(client.initialize(), 0);
    sim.advance(5000);
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 1u);
    headset.hotplug();
    sim.advance(2000);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    sim.sound().makeDefault(headset);
    sim.advance(2000);
    expectNotifications({"2 Headset 1", "4 Headset 1", "1 Headset 1"});
    client.finalize();
}

SCENARIO(
    Discovery, WaitForClosedInsideANotification_ClosesOnTheMonitor,
    "Close and wait may be called from inside a notification; the monitor thread then closes the devices itself.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Mic");
    Device& headset = sim.playback("Headset").absent();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    bool done = false;
    client.onNotification = [&](const Notification& told) {
        if (told.event != ORVO_EVENT_DEVICE_ADDED)
            return;
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
        EXPECT_TRUE(sim.sound().living(speaker).empty());
        done = true;
    };
    headset.hotplug();
    EXPECT_TRUE(sim.advanceUntil([&] { return done; }));
    client.finalize();
}
