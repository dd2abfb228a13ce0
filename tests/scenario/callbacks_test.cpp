// What all callbacks have in common: the client's own value, the identifier as the client wrote it, and their threads.
#include "capture_scenario.h"

#include <array>
#include <cstring>
#include <map>
#include <set>

namespace scenario {
namespace {

// What came through a table whose first slot is a bare number: nothing may be looked up behind it.
struct Seen {
    std::set<void*> contexts;
    std::map<std::string, unsigned> times; // of each callback
    std::string behindTheText;             // of the last line of level 1: what stands behind its first NUL
};
Seen seen;

void note(void* context, const char* callback) {
    seen.contexts.insert(context);
    ++seen.times[callback];
}
void notify(void* context, std::int32_t, const char*, std::int32_t) {
    note(context, "notify");
}
std::int32_t play(void* context, const char*, AudioBlock*) {
    note(context, "play");
    return 0;
}
void capture(void* context, const char*, AudioBlock*, AudioBlock*) {
    note(context, "capture");
}
void log(void* context, const char*, const char* text, std::int32_t level) {
    note(context, "log");
    if (level == 1)
        seen.behindTheText = text + std::strlen(text) + 1;
}

std::string lowerCase(std::string text) {
    for (char& c : text)
        c = static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
    return text;
}

} // namespace
} // namespace scenario

SCENARIO(Callbacks, ClientContext_ComesBackUnchangedWithEach,
         "The client's value of the first slot is the first argument of every callback, whatever it is.") {
    scenario::seen = {};
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    auto* const anything = reinterpret_cast<void*>(std::uintptr_t{0xFEDCBA9876543210});
    client.callbacks = {anything, &scenario::notify, &scenario::play, &scenario::capture, &scenario::log};
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    sim.playback("Headset");
    sim.advance(2500);
    client.closeAndFinalize({&speaker, &microphone});
    EXPECT_EQ(scenario::seen.contexts, std::set<void*>{anything});
    EXPECT_EQ(scenario::seen.times["notify"], 2u);
    EXPECT_EQ(scenario::seen.times["log"], 1u);
    EXPECT_GT(scenario::seen.times["play"], 100u);
    EXPECT_GT(scenario::seen.times["capture"], 100u);
}

SCENARIO(
    Callbacks, IdentifierWrittenOtherwise_ComesBackAsTheClientWroteIt,
    "A device that was opened under a lower-case identifier is the same device of the system, and every callback "
    "about it carries the identifier as the client wrote it.") {
    const Device& speaker = sim.playback("Speaker").withGuid({0xABCDEF01, 2, 3, {4, 5, 6, 7, 8, 9, 10, 0xAB}});
    const Device& microphone = sim.capture("Microphone").withGuid({0xFEDCBA98, 2, 3, {4, 5, 6, 7, 8, 9, 10, 0xCD}});
    const std::string playback = scenario::lowerCase(speaker.id());
    const std::string capture = scenario::lowerCase(microphone.id());
    ASSERT_NE(playback, speaker.id());
    client.initialize();
    EXPECT_EQ(client.open(1, playback).result, 0);
    EXPECT_EQ(client.open(2, capture).result, 0);
    EXPECT_EQ(sim.calls("DirectSoundCreate8").at(0).subject, "Speaker");
    const Exports& exports = sim.exports();
    EXPECT_EQ(exports.orvosoundbackend_startDevice(client.backend, 1, playback.c_str(), 7), 0);
    EXPECT_EQ(exports.orvosoundbackend_startDevice(client.backend, 2, capture.c_str(), 7), 0);
    sim.advance(200);
    client.logs.clear();
    sim.on("Secondary.GetCurrentPosition").fails(DSERR_NODRIVER);
    sim.on("CaptureBuffer.GetCurrentPosition").fails(DSERR_NODRIVER);
    sim.advance(50);
    std::set<std::string> requested;
    std::set<std::string> captured;
    std::set<std::string> logged;
    for (const PlaybackRequest& request : client.requests)
        requested.insert(request.device);
    for (const CapturedBlock& block : client.captured)
        captured.insert(block.device);
    for (const LogLine& line : client.logs)
        logged.insert(line.category);
    EXPECT_EQ(requested, std::set<std::string>{playback});
    EXPECT_EQ(captured, std::set<std::string>{capture});
    EXPECT_EQ(logged, (std::set<std::string>{playback, capture}));
    EXPECT_EQ(exports.orvosoundbackend_closeDevice(client.backend, 1, playback.c_str(), 7), 0);
    EXPECT_EQ(exports.orvosoundbackend_closeDevice(client.backend, 2, capture.c_str(), 7), 0);
    client.waitForClosed();
    client.finalize();
}

SCENARIO(Callbacks, Threads_AreMonitorWorkersAndTheCaller,
         "Notifications come on the monitor's thread, audio on the worker of its device; a line comes on the thread "
         "that finds its reason: on the client's in initialize and in an association, on the worker's in open and in "
         "the loop.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    const std::string monitor = "thread1", playback = "thread2", capture = "thread3";
    std::set<std::string> notified;
    std::set<std::string> captured;
    client.onNotification = [&](const Notification&) { notified.insert(Scheduler::current()->name); };
    client.onCapture = [&](const std::string&, AudioBlock&, AudioBlock*) {
        captured.insert(Scheduler::current()->name);
    };
    client.initialize();
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    sim.playback("Headset");
    sim.advance(2500);
    sim.on("DirectSound.GetCaps").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.associate(microphone, speaker).result, -230);
    sim.on("Secondary.GetCurrentPosition").onCall(1).takes(50);
    sim.advance(200);
    sim.on("CaptureBuffer.GetCurrentPosition").onCall(1).fails(DSERR_NODRIVER);
    sim.advance(200);
    EXPECT_EQ(client.close(speaker), 0);
    client.waitForClosed();
    sim.on("DirectSound.GetCaps").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.open(speaker).result, -230);
    EXPECT_EQ(notified, std::set<std::string>{monitor});
    EXPECT_EQ(captured, std::set<std::string>{capture});
    for (const PlaybackRequest& request : client.requests)
        EXPECT_EQ(request.thread, playback);
    std::vector<std::string> threads;
    for (const LogLine& line : client.logs) {
        if (line.text.find("proc (3)") == std::string::npos) // the slow pass that follows the slow look
            threads.push_back(line.thread);
    }
    EXPECT_EQ(threads, (std::vector<std::string>{"client", "client", playback, capture, "thread4"}));
    client.closeAndFinalize({&microphone});
}

SCENARIO(Callbacks, SystemText_StandsWholeInMemory,
         "A line that quotes the system goes to the client as it is: its reader sees the words, and behind their NUL "
         "stands the rest of the line.") {
    scenario::seen = {};
    const Device& speaker = sim.playback("Speaker");
    client.callbacks.logMessage = &scenario::log;
    client.initialize();
    sim.system().messages[0x80070005] = L"Denied.\r\n";
    sim.on("DirectSoundCreate8").onCall(1).fails(E_ACCESSDENIED);
    EXPECT_EQ(client.open(speaker).result, -228);
    EXPECT_EQ(scenario::seen.behindTheText, " (-2147024891) (0x80070005)");
    client.finalize();
}
