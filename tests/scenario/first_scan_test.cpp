// The scan that a backend begins with.
#include "discovery.h"

namespace scenario {
namespace {

constexpr GUID kNowhere{0x0BADF00D, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

} // namespace
} // namespace scenario

SCENARIO(FirstScan, InitializeReturns_ListsAreCompleteWithoutNotification,
         "When initialize returns, both lists and both defaults are complete, and the client was told nothing.") {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    Device& microphone = sim.capture("Microphone");
    sim.sound().makeDefault(headset);
    client.initialize();
    EXPECT_EQ(ids(client.list(Direction::playback)), (Texts{speaker.id(), headset.id()}));
    EXPECT_EQ(ids(client.list(Direction::capture)), Texts{microphone.id()});
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    EXPECT_EQ(client.defaultDevice(Direction::capture).id, microphone.id());
    EXPECT_EQ(sim.now(), 0);
    sim.advance(5000);
    expectNotifications({});
    client.finalize();
}

SCENARIO(FirstScan, Order_WaveCountsVersionDefaultsLists,
         "The first scan runs on the initializing thread, once: the version of the system, the counts of wave "
         "devices, the default of playback and of capture, the lists of playback and of capture, and only then the "
         "monitor's thread begins.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    const std::string self = Scheduler::current()->name;
    Texts order;
    for (const CallRecord& call : sim.script().callsBeginning("")) {
        for (const char* known : {"VerifyVersionInfoW", "waveOutGetNumDevs", "waveInGetNumDevs", "GetDeviceID",
                                  "DirectSoundEnumerateW", "DirectSoundCaptureEnumerateW", "_beginthreadex"}) {
            if (call.name != known)
                continue;
            EXPECT_EQ(call.thread, self) << call.name;
            order.push_back(call.subject.empty() ? call.name : call.name + " " + call.subject);
        }
    }
    EXPECT_EQ(order, (Texts{"VerifyVersionInfoW", "waveOutGetNumDevs", "waveInGetNumDevs", "GetDeviceID playback",
                            "GetDeviceID capture", "DirectSoundEnumerateW", "DirectSoundCaptureEnumerateW",
                            "_beginthreadex"}));
    client.finalize();
}

SCENARIO(FirstScan, DefaultOfPlaybackUnknown_BothListsStayEmpty,
         "While DirectSound does not tell the default playback device, the lists of both directions stay empty, and "
         "no rescan changes that.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("GetDeviceID").of("playback").fails(static_cast<long long>(DSERR_NODRIVER));
    EXPECT_EQ(client.initialize(), 0);
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(client.list(Direction::playback).empty());
        EXPECT_TRUE(client.list(Direction::capture).empty());
        sim.advance(5000);
    }
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 0u);
    expectNotifications({});
    client.finalize();
}

SCENARIO(FirstScan, DefaultOfCaptureUnknown_BothListsStayEmpty,
         "While DirectSound does not tell the default capture device, as on a system without a microphone, the lists "
         "of both directions stay empty.") {
    sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(client.list(Direction::playback).empty());
    sim.advance(5000);
    EXPECT_TRUE(client.list(Direction::playback).empty());
    expectNotifications({});
    expectTrouble({});
    expectErrorLines({});
    client.finalize();
}

SCENARIO(FirstScan, DefaultsKnownLater_AllDevicesArrive,
         "When the defaults are first told after the begin, the next rescan reports every device as added and both "
         "defaults as changed.") {
    Device& speaker = sim.playback("Speaker");
    sim.playback("Headset");
    sim.capture("Microphone");
    sim.sound().makeDefault(speaker);
    sim.on("GetDeviceID").of("capture").onCall(1).fails(static_cast<long long>(DSERR_NODRIVER));
    client.initialize();
    EXPECT_TRUE(client.list(Direction::playback).empty());
    sim.advance(kUntilRescan);
    expectNotifications({"2 Speaker 1", "4 Speaker 1", "2 Headset 1", "4 Headset 1", "1 Speaker 1", "2 Microphone 2",
                         "4 Microphone 1", "1 Microphone 2"});
    EXPECT_EQ(client.list(Direction::playback).size(), 2u);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    client.finalize();
}

SCENARIO(FirstScan, EnumerationOfPlaybackFails_BothListsStayEmpty,
         "When the enumeration of playback fails in the first scan, both lists stay empty; the defaults were stored, "
         "so that only a further change brings the devices.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("DirectSoundEnumerateW").onCall(1).fails();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(client.list(Direction::playback).empty());
    EXPECT_TRUE(client.list(Direction::capture).empty());
    sim.advance(5000);
    expectNotifications({});
    sim.playback("Headset");
    sim.advance(kUntilRescan);
    expectNotifications({"2 Speaker 1", "4 Speaker 1", "2 Headset 1", "4 Headset 1", "1 Speaker 1", "2 Microphone 2",
                         "4 Microphone 1", "1 Microphone 2"});
    client.finalize();
}

SCENARIO(FirstScan, EnumerationOfCaptureFails_BothListsStayEmpty,
         "When the enumeration of capture fails in the first scan, the playback list stays empty, too.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("DirectSoundCaptureEnumerateW").onCall(1).fails();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(client.list(Direction::playback).empty());
    EXPECT_TRUE(client.list(Direction::capture).empty());
    expectErrorLines({});
    client.finalize();
}

SCENARIO(FirstScan, DefaultAppearsInTheListLater_AllDevicesArrive,
         "When the default device first is listed nowhere and then another one becomes default, the rescan reports "
         "all devices.") {
    sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    sim.sound().makeDefault(Direction::capture, kNowhere);
    client.initialize();
    EXPECT_TRUE(client.list(Direction::playback).empty());
    sim.sound().makeDefault(microphone);
    sim.advance(kUntilRescan);
    expectNotifications(
        {"2 Speaker 1", "4 Speaker 1", "1 Speaker 1", "2 Microphone 2", "4 Microphone 1", "1 Microphone 2"});
    client.finalize();
}

SCENARIO(FirstScan, NoThread_ListsStayAsTheyAre,
         "When the monitor's thread cannot be started, the backend works with its first lists, which then never "
         "change.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("_beginthreadex").onCall(1).fails();
    EXPECT_EQ(client.initialize(), 0);
    sim.expectLeft(Kind::threadHandle, 0);
    sim.playback("Headset");
    sim.advance(5000);
    EXPECT_EQ(ids(client.list(Direction::playback)), Texts{speaker.id()});
    expectNotifications({});
    client.finalize();
}

SCENARIO(FirstScan, NoWakeEvent_NoScanAndNoThread,
         "When the monitor's wake event cannot be created, one line says so, and there is neither scan nor thread: "
         "the lists are empty.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    const std::size_t events = sim.count("CreateEventW");
    client.finalize();
    // Which of the events is the monitor's wake event: the one whose failure leaves the lists empty.
    unsigned silent = 0;
    for (unsigned n = 1; n <= events; ++n) {
        const unsigned scans = sim.count("DirectSoundEnumerateW");
        const std::size_t handles = sim.expectedLeft(Kind::threadHandle);
        const std::size_t lines = sim.errorLines().size();
        sim.on("CreateEventW").onCall(n).fails();
        EXPECT_EQ(client.initialize(), 0);
        if (client.list(Direction::playback).empty()) {
            ++silent;
            EXPECT_EQ(sim.errorLines().size(), lines + 1);
            EXPECT_EQ(sim.errorLines().back(), "Error int CreateEvent");
            EXPECT_EQ(sim.count("DirectSoundEnumerateW"), scans);
            sim.expectLeft(Kind::threadHandle, handles);
        }
        client.finalize();
        sim.script().clear();
    }
    EXPECT_EQ(silent, 1u);
}
