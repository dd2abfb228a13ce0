// When the monitor rescans, and what a rescan that cannot be finished leaves.
#include "discovery.h"

#include <algorithm>

namespace scenario {
namespace {

constexpr GUID kNowhere{0x0BADF00D, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

// When the defaults of playback were asked for, which every rescan of a new system does: in milliseconds.
std::vector<double> rescans(const Simulation& sim) {
    std::vector<double> times;
    for (const CallRecord& call : sim.calls("GetDeviceID")) {
        if (call.subject == "playback")
            times.push_back(static_cast<double>(call.time) / 1e6);
    }
    return times;
}

} // namespace
} // namespace scenario

SCENARIO(Rescan, ExactlyOneSecond_IsNotDue,
         "A rescan is due only when more than a second has passed since the last one: with waits that end exactly "
         "after a second it runs at every second wake.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.advance(6500);
    EXPECT_EQ(rescans(sim), (std::vector<double>{0, 2000, 4000, 6000}));
    client.finalize();
}

SCENARIO(Rescan, LittleMoreThanASecond_IsDue, "With waits that end a millisecond late a rescan runs at every wake.") {
    sim.timerGranularity(1001);
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.advance(3500);
    EXPECT_EQ(rescans(sim), (std::vector<double>{0, 1001, 2002, 3003}));
    client.finalize();
}

SCENARIO(Rescan, Second_IsThatOfThePerformanceCounter,
         "The second is counted in ticks of the performance counter: half a millisecond more is more than a second "
         "where a tick is short, and not yet where a tick is a millisecond.") {
    sim.system().counterFrequency = 1000;
    sim.scheduler().setLateness([](Nanoseconds exact) { return exact + kMillisecond / 2; });
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.advance(1002);
    EXPECT_EQ(rescans(sim).size(), 1u);
    sim.advance(1002);
    EXPECT_EQ(rescans(sim).size(), 2u);
    client.finalize();
    sim.system().counterFrequency = 3'579'545;
    client.initialize();
    const std::size_t before = rescans(sim).size();
    sim.advance(1002);
    EXPECT_EQ(rescans(sim).size(), before + 1);
    client.finalize();
}

SCENARIO(Rescan, TakesLong_ItsDurationDoesNotCount,
         "The time of the last rescan is taken when it is over, so that its own duration does not bring the next one "
         "nearer.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.on("GetDeviceID").of("capture").onCall(1).takes(600);
    sim.advance(5000);
    // Over at 2600; the wake at 3600 comes exactly a second later.
    EXPECT_EQ(rescans(sim), (std::vector<double>{0, 2000, 4600}));
    client.finalize();
}

SCENARIO(Rescan, CounterFailsAfterARescan_ItsBeginCounts,
         "When the counter cannot be read at the end of a rescan, the next second is counted from the begin.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.on("GetDeviceID").of("capture").onCall(1).takes(600);
    sim.on("QueryPerformanceCounter").onCall(4).failsWithError(31); // after the thread's first, and two wakes
    sim.advance(5000);
    // Over at 2600; the wake at 3600 comes 1600 ms after the begin.
    EXPECT_EQ(rescans(sim), (std::vector<double>{0, 2000, 3600}));
    expectErrorLines({});
    client.finalize();
}

SCENARIO(Rescan, CounterFailsAfterARescan_TheOneBeforeDoesNotCount,
         "When the counter cannot be read at the end of a rescan, the next one is due as after any other.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.on("QueryPerformanceCounter").onCall(4).failsWithError(31); // after the thread's first, and two wakes
    sim.advance(5000);
    EXPECT_EQ(rescans(sim), (std::vector<double>{0, 2000, 4000}));
    client.finalize();
}

SCENARIO(Rescan, NoMemoryForADevice_NoneIsTakenForGone,
         "Wherever memory runs out while a rescan lists the devices, those that were known before stay.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& headset = sim.playback("Headset");
    Device& guest = sim.playback("Guest");
    sim.capture("Microphone");
    unsigned failed = 0;
    for (unsigned n = 1; n < 100; ++n) {
        guest.unplug();
        client.initialize();
        guest.hotplug();
        const Rule* memory = nullptr;
        sim.on("DirectSoundEnumerateW").onCall(1).does([&] { memory = &sim.on("malloc").onCall(n).maybe().fails(); });
        sim.advance(2500);
        const bool hit = memory != nullptr && memory->hits() > 0;
        sim.script().clear();
        const Texts listed = ids(client.list(Direction::playback));
        for (const Device* device : {&speaker, &headset})
            EXPECT_EQ(std::ranges::count(listed, device->id()), 1) << "allocation " << n;
        client.finalize();
        if (!hit)
            break;
        ++failed;
    }
    EXPECT_GE(failed, 4u);
}

SCENARIO(Rescan, FirstDefaultsAreAllZero_AreListedAtTheBegin,
         "The first listing takes place whatever the defaults are, even GUIDs of all zeros.") {
    Device& speaker = sim.playback("Speaker").withGuid(GUID{});
    Device& microphone = sim.capture("Microphone").withGuid(GUID{});
    client.initialize();
    EXPECT_EQ(ids(client.list(Direction::playback)), Texts{speaker.id()});
    EXPECT_EQ(ids(client.list(Direction::capture)), Texts{microphone.id()});
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, 0);
    client.finalize();
}

SCENARIO(Rescan, ClosingWakesTheMonitor_NoEarlierRescan,
         "A device that is closed wakes the monitor, but does not make it rescan before its time.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.advance(300);
    sim.playback("Headset");
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    sim.advance(1);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_EQ(rescans(sim), (std::vector<double>{0}));
    expectNotifications({});
    sim.advance(1000);
    // The wait after the close ended at 1300, more than a second after the first scan.
    EXPECT_EQ(rescans(sim), (std::vector<double>{0, 1300}));
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    client.finalize();
}

SCENARIO(Rescan, CloseAtADueTime_RescansThen,
         "A close that wakes the monitor when a rescan is due brings that rescan at once.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.advance(1100);
    EXPECT_EQ(client.close(speaker), 0);
    sim.advance(1);
    EXPECT_EQ(rescans(sim), (std::vector<double>{0, 1100}));
    client.finalize();
}

SCENARIO(Rescan, DefaultUnknownLater_ListsStayUntilItIsKnown,
         "While DirectSound does not tell the default of either direction, no rescan changes the lists of either "
         "direction; once it does, the defaults are compared again, but a change of counts was used up.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const char* direction : {"playback", "capture"}) {
        sim.on("GetDeviceID").of(direction).fails(static_cast<long long>(DSERR_NODRIVER));
        Device& headset = sim.playback(std::string("Headset beside ") + direction);
        Device& line = sim.capture(std::string("Line beside ") + direction);
        sim.advance(3 * kUntilRescan);
        expectNotifications({});
        EXPECT_EQ(ids(client.list(Direction::playback)), Texts{speaker.id()});
        EXPECT_EQ(ids(client.list(Direction::capture)), Texts{microphone.id()});
        sim.script().clear();
        sim.advance(3 * kUntilRescan);
        expectNotifications({});
        headset.vanish();
        line.vanish();
        sim.advance(kUntilRescan);
        expectNotifications({});
    }
    client.finalize();
}

SCENARIO(Rescan, EnumerationFails_ChangeIsPickedUpWithTheNextTrigger,
         "When the enumeration of either direction fails, both lists stay as they were, silently; the change is "
         "picked up when the next one triggers a rescan.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    unsigned round = 0;
    for (const char* call : {"DirectSoundEnumerateW", "DirectSoundCaptureEnumerateW"}) {
        const std::string headset = "Headset" + std::to_string(++round);
        const std::string line = "Line" + std::to_string(round);
        sim.on(call).onCall(1).fails();
        sim.playback(headset);
        sim.advance(3 * kUntilRescan);
        expectNotifications({});
        EXPECT_EQ(client.list(Direction::playback).size(), round);
        EXPECT_EQ(client.list(Direction::capture).size(), round);
        sim.capture(line);
        sim.advance(kUntilRescan);
        expectNotifications({"2 " + headset + " 1", "4 " + headset + " 1", "2 " + line + " 2", "4 " + line + " 1"});
        client.notifications.clear();
    }
    expectTrouble({});
    expectErrorLines({});
    client.finalize();
}

SCENARIO(Rescan, EnumerationFailsOnNewDefault_DefaultWaitsForTheNextTrigger,
         "The defaults are remembered before the lists are read: when reading them fails, the new default is told "
         "only with the next change.") {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Microphone");
    client.initialize();
    sim.on("DirectSoundEnumerateW").onCall(1).fails();
    sim.sound().makeDefault(headset);
    sim.advance(3 * kUntilRescan);
    expectNotifications({});
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    sim.capture("Line");
    sim.advance(kUntilRescan);
    expectNotifications({"1 Headset 1", "2 Line 2", "4 Line 1"});
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    client.finalize();
}

SCENARIO(Rescan, NewDefaultIsListedNowhere_BothListsStay,
         "When the new default device is listed nowhere, both lists and both defaults stay as they were; when it "
         "goes back, nothing was changed and nothing is told.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    client.initialize();
    sim.sound().makeDefault(Direction::capture, kNowhere);
    Device& headset = sim.playback("Headset");
    sim.advance(3 * kUntilRescan);
    expectNotifications({});
    EXPECT_EQ(ids(client.list(Direction::playback)), Texts{speaker.id()});
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    EXPECT_EQ(client.defaultDevice(Direction::capture).id, microphone.id());
    headset.vanish();
    sim.sound().makeDefault(microphone);
    sim.advance(kUntilRescan);
    expectNotifications({});
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 3u); // at the begin, at the change, at the change back
    client.finalize();
}

SCENARIO(Rescan, NewDefaultIsSkipped_BothListsStay,
         "When the new default device is one that enumeration skips, both lists stay as they were.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    Device& nameless = sim.playback("Nameless").withoutName();
    sim.capture("Line");
    sim.sound().makeDefault(nameless);
    sim.advance(kUntilRescan);
    expectNotifications({});
    EXPECT_EQ(client.list(Direction::capture).size(), 1u);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    client.finalize();
}

SCENARIO(Rescan, CountsChangedOnly_ListsAreRead,
         "A changed number of wave outputs or inputs makes the rescan read the lists even while the defaults stay.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.system().waveOutputs = 1;
    sim.system().waveInputs = 1;
    client.initialize();
    sim.playback("Headset");
    sim.advance(kUntilRescan);
    expectNotifications({}); // the counts and the defaults are as before
    sim.system().waveOutputs = 2;
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    client.notifications.clear();
    sim.playback("Monitor");
    sim.system().waveInputs = 0;
    sim.advance(kUntilRescan);
    expectNotifications({"2 Monitor 1", "4 Monitor 1"});
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 3u);
    client.finalize();
}

SCENARIO(Rescan, MemoryRunsOutAnywhere_NothingChangesAndTheMonitorLives,
         "When memory runs out at any place of a rescan, the lists stay as they were and nothing is told; the next "
         "change is seen.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    Device& headset = sim.playback("Headset").absent();
    client.initialize();
    unsigned failed = 0;
    for (bool hit = true; hit; ++failed) {
        ASSERT_LT(failed, 200u);
        headset.hotplug();
        Rule& rule = sim.on("malloc").onCall(failed + 1).maybe().fails();
        sim.advance(kUntilRescan);
        hit = rule.hits() > 0;
        sim.script().clear();
        if (!hit)
            break;
        expectNotifications({});
        EXPECT_EQ(ids(client.list(Direction::playback)), Texts{speaker.id()});
        headset.vanish();
        sim.advance(kUntilRescan);
        expectNotifications({});
    }
    EXPECT_GE(failed, 3u); // a list with one entry, one with two, and what was added
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    client.finalize();
}
