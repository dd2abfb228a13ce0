// Systems older than 6.0, where the wave mapper tells which device is preferred.
#include "discovery.h"

#include <tuple>

namespace scenario {
namespace {

void makeOlder(Simulation& sim) {
    sim.system().majorVersion = 5;
    sim.system().minorVersion = 1;
    sim.system().servicePack = 3;
}

Texts arguments(const Simulation& sim, const char* call) {
    Texts found;
    for (const CallRecord& record : sim.calls(call))
        found.push_back(record.arguments);
    return found;
}

} // namespace
} // namespace scenario

SCENARIO(OlderSystem, VersionBelow6_WatchesTheMapper,
         "Below version 6.0 each rescan asks the wave mapper; from 6.0 on none does.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    using Version = std::tuple<DWORD, DWORD, DWORD, bool>;
    for (const auto& [major, minor, pack, older] :
         {Version{5, 0, 0, true}, Version{5, 2, 2, true}, Version{6, 0, 0, false}, Version{6, 1, 0, false},
          Version{10, 0, 0, false}}) {
        sim.system().majorVersion = major;
        sim.system().minorVersion = minor;
        sim.system().servicePack = pack;
        const unsigned outputs = sim.count("waveOutMessage");
        const unsigned inputs = sim.count("waveInMessage");
        const unsigned versions = sim.count("VerifyVersionInfoW");
        client.initialize();
        sim.advance(kUntilRescan);
        EXPECT_EQ(client.list(Direction::playback).size(), 1u);
        client.finalize();
        EXPECT_EQ(sim.count("waveOutMessage") - outputs, older ? 2u : 0u) << major << "." << minor;
        EXPECT_EQ(sim.count("waveInMessage") - inputs, older ? 2u : 0u) << major << "." << minor;
        EXPECT_EQ(sim.count("VerifyVersionInfoW") - versions, 1u);
    }
    EXPECT_EQ(arguments(sim, "VerifyVersionInfoW")[0], "6.0");
}

SCENARIO(OlderSystem, Watch_OutputThenInputWithFullRecords,
         "The watch asks for the preferred output and input, then reads the capabilities of these devices into "
         "records of 84 and 80 bytes.") {
    makeOlder(sim);
    sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Microphone");
    sim.sound().makeDefault(headset);
    client.initialize();
    EXPECT_EQ(arguments(sim, "waveOutGetDevCapsW"), Texts{"1 size 84"});
    EXPECT_EQ(arguments(sim, "waveInGetDevCapsW"), Texts{"0 size 80"});
    Texts order;
    for (const CallRecord& call : sim.script().callsBeginning("wave"))
        order.push_back(call.name);
    EXPECT_EQ(order, (Texts{"waveOutGetNumDevs", "waveInGetNumDevs", "waveOutMessage", "waveInMessage",
                            "waveOutGetDevCapsW", "waveInGetDevCapsW"}));
    client.finalize();
}

SCENARIO(OlderSystem, FirstScan_ListsAndMarks, "The first scan lists and marks on an older system like on a newer.") {
    makeOlder(sim);
    sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Microphone");
    sim.sound().makeDefault(headset);
    client.initialize();
    EXPECT_EQ(client.list(Direction::playback).size(), 2u);
    EXPECT_EQ(client.list(Direction::capture).size(), 1u);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    expectNotifications({});
    client.finalize();
}

SCENARIO(OlderSystem, NothingChanged_DirectSoundIsNotAsked,
         "While counts, preferred devices and their names stay, a rescan asks DirectSound nothing.") {
    makeOlder(sim);
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.advance(20'000);
    EXPECT_EQ(sim.count("GetDeviceID"), 2u);
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 1u);
    EXPECT_GT(sim.count("waveOutMessage"), 9u);
    expectNotifications({});
    client.finalize();
}

SCENARIO(OlderSystem, PreferredNumberChanges_DefaultIsTold,
         "When the preferred output or input becomes another number, the new default is told.") {
    makeOlder(sim);
    Device& speaker = sim.playback("Speaker").named(L"same");
    Device& headset = sim.playback("Headset").named(L"same");
    Device& microphone = sim.capture("Microphone").named(L"same");
    Device& line = sim.capture("Line").named(L"same");
    sim.sound().makeDefault(speaker);
    sim.sound().makeDefault(microphone);
    client.initialize();
    sim.sound().makeDefault(headset);
    sim.advance(kUntilRescan);
    expectNotifications({"1 Headset 1"});
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    client.notifications.clear();
    sim.sound().makeDefault(line);
    sim.advance(kUntilRescan);
    expectNotifications({"1 Line 2"});
    EXPECT_EQ(client.defaultDevice(Direction::capture).id, line.id());
    // The numbers are remembered: nothing further is asked.
    const unsigned asked = sim.count("GetDeviceID");
    sim.advance(3 * kUntilRescan);
    EXPECT_EQ(sim.count("GetDeviceID"), asked);
    client.finalize();
}

SCENARIO(OlderSystem, NumberChangesButNotTheDefault_ListsAreNotRead,
         "When the preferred number changes, but DirectSound's defaults and the counts do not, the lists are not "
         "read.") {
    makeOlder(sim);
    Device& first = sim.playback("First").absent();
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    sim.system().waveOutputs = 1;
    sim.sound().makeDefault(speaker);
    client.initialize();
    first.hotplug(); // the speaker's number is now 1
    sim.advance(kUntilRescan);
    EXPECT_EQ(sim.count("GetDeviceID"), 4u);
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 1u);
    expectNotifications({});
    client.finalize();
}

SCENARIO(
    OlderSystem, PreferredNameChanges_DefaultsAreAskedOnce,
    "When the product name of the preferred output or input changes, DirectSound's defaults are asked for once.") {
    makeOlder(sim);
    Device& speaker = sim.playback("Speaker").named(L"old");
    Device& microphone = sim.capture("Microphone").named(L"old");
    client.initialize();
    speaker.named(L"new");
    sim.advance(3 * kUntilRescan);
    EXPECT_EQ(sim.count("GetDeviceID"), 4u);
    microphone.named(L"ole");
    sim.advance(3 * kUntilRescan);
    EXPECT_EQ(sim.count("GetDeviceID"), 6u);
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 1u);
    expectNotifications({});
    client.finalize();
}

SCENARIO(OlderSystem, PreferredDeviceSwapped_NoticedByItsName,
         "When the preferred device is swapped for one with another name, so that counts and numbers stay, the "
         "change is told.") {
    makeOlder(sim);
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

SCENARIO(OlderSystem, NamesDifferLate_OnlyTheKeptCharactersCount,
         "Of product names the system keeps 31 characters: names that differ in the 31st are different, names that "
         "differ later only are the same.") {
    makeOlder(sim);
    Device& speaker = sim.playback("Speaker").named(std::wstring(31, L'n') + L"old");
    sim.capture("Microphone");
    client.initialize();
    speaker.named(std::wstring(31, L'n') + L"new");
    sim.advance(2 * kUntilRescan);
    EXPECT_EQ(sim.count("GetDeviceID"), 2u);
    speaker.named(std::wstring(30, L'n') + L"xnew");
    sim.advance(2 * kUntilRescan);
    EXPECT_EQ(sim.count("GetDeviceID"), 4u);
    client.finalize();
}

SCENARIO(OlderSystem, CountsChangeOnly_ListsAreReadWithoutAskingForDefaults,
         "When only the counts change, the lists are read and marked with the defaults known before, without asking "
         "for them again.") {
    makeOlder(sim);
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.playback("Headset");
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    EXPECT_EQ(sim.count("GetDeviceID"), 2u);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    client.notifications.clear();
    sim.capture("Line");
    sim.advance(kUntilRescan);
    expectNotifications({"2 Line 2", "4 Line 1"});
    client.finalize();
}

SCENARIO(OlderSystem, MapperDoesNotAnswer_CountsAsUnchanged,
         "What the mapper and the wave devices do not answer counts as unchanged: the first lists come, and rescans "
         "follow the counts alone.") {
    makeOlder(sim);
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Microphone");
    sim.sound().makeDefault(speaker);
    for (const char* call : {"waveOutMessage", "waveInMessage", "waveOutGetDevCapsW", "waveInGetDevCapsW"})
        sim.on(call).fails(MMSYSERR_NODRIVER);
    client.initialize();
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    sim.sound().makeDefault(headset);
    sim.advance(3 * kUntilRescan);
    EXPECT_EQ(sim.count("GetDeviceID"), 2u);
    expectNotifications({});
    sim.playback("Monitor");
    sim.advance(kUntilRescan);
    expectNotifications({"2 Monitor 1", "4 Monitor 1"});
    sim.script().clear();
    sim.advance(kUntilRescan);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    client.finalize();
}

SCENARIO(OlderSystem, DefaultUnknownAtAChange_TheChangeIsUsedUp,
         "When DirectSound does not tell the defaults at the moment of a change, the change is forgotten until the "
         "next one.") {
    makeOlder(sim);
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Microphone");
    sim.sound().makeDefault(speaker);
    client.initialize();
    sim.on("GetDeviceID").onCall(1).fails(static_cast<long long>(DSERR_NODRIVER));
    sim.sound().makeDefault(headset);
    sim.advance(4 * kUntilRescan);
    expectNotifications({});
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    client.finalize();
}
