// Finalize in every situation that it can meet.
#include "scenario.h"

#include <string>

using namespace std::string_literals;

namespace {

constexpr double kAtOnce = 5; // milliseconds, far below the monitor's second

} // namespace

SCENARIO(Finalize, DevicesStillClosing_AreClosedBeforeItReturns,
         "Finalize returns when the devices that were closed before are stopped and released.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    sim.advance(100);
    sim.on("Secondary.Stop").takes(300);
    client.close(speaker);
    client.close(microphone);
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 1u);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_TRUE(sim.sound().living(microphone).empty());
    expectErrorLines({});
}

SCENARIO(Finalize, MonitorThatEndedEarly_LeavesTheClosingToFinalize,
         "When the monitor thread has ended for want of COM, closed devices stay until finalize closes them on its "
         "own thread.") {
    const Device& speaker = sim.playback("Speaker");
    sim.system().messages[0x80010106] = L"Another apartment.";
    sim.on("CoInitializeEx").onCall(1).fails(static_cast<HRESULT>(0x80010106));
    client.initialize();
    sim.advance(1);
    expectErrorLines({"Another apartment.\0 (-2147417850)"s});
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    EXPECT_EQ(client.close(speaker), 0);
    sim.advance(3000);
    EXPECT_FALSE(sim.sound().living(speaker).empty());
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_EQ(sim.calls("Secondary.Stop").size(), 1u);
}

SCENARIO(Finalize, RegisteredDevices_AreDestroyedInOrderWithoutHandshake,
         "Devices that are still registered are destroyed, playback first and by identifier, without a command to "
         "their workers and without waiting for them.") {
    Device& first = sim.playback("First");
    Device& second = sim.playback("Second");
    Device& microphone = sim.capture("Microphone");
    client.initialize();
    // Opened in the opposite order, so that the numbers of their threads fall in the order of destruction.
    std::vector<std::string> threads;
    for (Device* device : {&microphone, &second, &first}) {
        client.open(*device);
        client.start(*device);
    }
    sim.advance(100);
    // Their workers end by themselves, so that nobody uses what is destroyed.
    for (Device* device : {&microphone, &second, &first})
        device->breaks(DSERR_NODRIVER);
    sim.advance(100);
    const std::size_t before = sim.script().callsBeginning("").size();
    client.finalize();
    std::vector<int> closed;
    const std::vector<CallRecord> calls = sim.script().callsBeginning("");
    for (std::size_t i = before; i < calls.size(); ++i) {
        if (calls[i].name == "CloseHandle" && calls[i].subject.starts_with("T"))
            closed.push_back(std::stoi(calls[i].subject.substr(1)));
        EXPECT_FALSE(calls[i].name == "DestroyWindow" && closed.size() != 3) << "devices go before the window";
    }
    ASSERT_EQ(closed.size(), 3u);
    EXPECT_GT(closed[0], closed[1]);
    EXPECT_GT(closed[1], closed[2]);
    unsigned waits = 0;
    for (std::size_t i = before; i < calls.size(); ++i)
        waits += calls[i].thread == "client" && calls[i].name == "WaitForSingleObject";
    EXPECT_EQ(waits, 1u) << "for the monitor, and for no worker";
}

SCENARIO(Finalize, CaptureStillRunning_FindsNoReferenceInADestroyedDevice,
         "While finalize destroys a playback device that is still registered, a capture device that has it as "
         "reference and still runs gets its blocks without one.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    sim.advance(505);
    EXPECT_TRUE(client.captured.back().hasEcho);
    speaker.breaks(DSERR_NODRIVER); // its worker ends
    sim.advance(200);
    const std::size_t before = client.captured.size();
    std::size_t duringDestruction = 0;
    // The first of a device's handles, behind the monitor's two. Both devices have no thread left when it is closed.
    sim.on("CloseHandle").onCall(3).does([&] { duringDestruction = client.captured.size(); }).takes(70);
    sim.on("CloseHandle").onCall(4).does([&] { duringDestruction = client.captured.size() - duringDestruction; });
    sim.at(sim.now() + 45, [&] { microphone.breaks(DSERR_NODRIVER); });
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_GE(duringDestruction, 2u);
    ASSERT_GE(client.captured.size(), before + duringDestruction);
    for (std::size_t i = client.captured.size() - duringDestruction; i < client.captured.size(); ++i)
        EXPECT_FALSE(client.captured[i].hasEcho) << i;
}

SCENARIO(
    Finalize, CallbackUnderWay_MayCallBackIn,
    "While finalize waits for a notification that is under way, the callback may still list devices, ask for the "
    "default and close a device.") {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset").absent();
    bool inside = false;
    std::size_t listed = 0;
    BackendResult asked = -1;
    BackendResult closed = -1;
    client.onNotification = [&](const Notification& notification) {
        if (notification.event != 2)
            return;
        inside = true;
        sim.spend(100);
        listed = client.list(Direction::playback).size();
        asked = client.defaultDevice(Direction::playback).result;
        closed = client.close(speaker);
    };
    sim.capture("Microphone");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    headset.hotplug();
    ASSERT_TRUE(sim.advanceUntil([&] { return inside; }));
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_EQ(listed, 2u);
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(closed, 0);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
}

SCENARIO(Finalize, SleepingMonitor_IsWoken,
         "Finalize wakes the sleeping monitor instead of waiting out its second.") {
    client.initialize();
    sim.advance(1500);
    const double before = sim.now();
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_LT(sim.now() - before, kAtOnce);
}
