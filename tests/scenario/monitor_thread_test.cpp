// The monitor's thread: how it begins, what ends it early, and what is left then.
#include "discovery.h"

namespace scenario {
namespace {

// The last thread of the plug-in that set its priority, and to what.
CallRecord lastPriority(const Simulation& sim) {
    const std::vector<CallRecord> calls = sim.calls("SetThreadPriority");
    return calls.empty() ? CallRecord{} : calls.back();
}

std::string systemText(const std::string& words, const std::string& number) {
    std::string text = words;
    return text.append(1, '\0').append(" (").append(number).append(")");
}

} // namespace
} // namespace scenario

SCENARIO(MonitorThread, Begin_NormalPriorityAndMultithreadedCom,
         "The monitor's thread runs at normal priority with COM initialized for the multithreaded apartment, and "
         "uninitializes it at its end.") {
    client.initialize();
    sim.advance(1);
    EXPECT_EQ(lastPriority(sim).arguments, "0");
    ASSERT_EQ(sim.count("CoInitializeEx"), 1u);
    EXPECT_EQ(sim.calls("CoInitializeEx")[0].arguments, "flags 0");
    EXPECT_EQ(sim.calls("CoInitializeEx")[0].thread, lastPriority(sim).thread);
    EXPECT_NE(lastPriority(sim).thread, Scheduler::current()->name);
    client.finalize();
    EXPECT_EQ(sim.count("CoUninitialize"), 1u);
}

SCENARIO(MonitorThread, ComWasInitialized_GoesOn,
         "When COM says that it was initialized before (1), the thread goes on as usual and uninitializes it at its "
         "end.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("CoInitializeEx").fails(1).does([&] {
        sim.ledger().take(Kind::comInitialization, static_cast<std::uintptr_t>(Scheduler::current()->number), "once");
    });
    client.initialize();
    sim.playback("Headset");
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    expectErrorLines({});
    client.finalize();
    EXPECT_EQ(sim.count("CoUninitialize"), 1u);
}

SCENARIO(MonitorThread, ComFails_OneLineAndFrozenLists,
         "When COM cannot be initialized, the text of the result goes to standard error, whole, and the thread ends: "
         "the lists stay as they are.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    sim.system().messages[0x80010106] = L"Cannot change mode.\r\n";
    sim.on("CoInitializeEx").fails(static_cast<long long>(RPC_E_CHANGED_MODE));
    EXPECT_EQ(client.initialize(), 0);
    sim.playback("Headset");
    sim.advance(10'000);
    expectErrorLines({systemText("Cannot change mode.", "-2147417850")});
    EXPECT_EQ(ids(client.list(Direction::playback)), Texts{speaker.id()});
    expectNotifications({});
    EXPECT_TRUE(client.logTexts(1).empty());
    client.finalize();
    EXPECT_EQ(sim.count("CoUninitialize"), 0u);
}

SCENARIO(MonitorThread, ComAnswersAnotherSuccess_CountsAsFailure,
         "Any result of COM other than 0 and 1 ends the thread, also one that means success.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.system().messages[2] = L"Something else.";
    sim.on("CoInitializeEx").fails(2);
    client.initialize();
    sim.playback("Headset");
    sim.advance(5000);
    expectErrorLines({systemText("Something else.", "2")});
    expectNotifications({});
    client.finalize();
    EXPECT_EQ(sim.count("CoUninitialize"), 0u);
}

SCENARIO(MonitorThread, CounterFailsAtTheBegin_LineAndComUninitialized,
         "When the performance counter cannot be read at the begin, a line with the system's error number goes to "
         "standard error, and the thread uninitializes COM and ends.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("QueryPerformanceCounter").onCall(1).failsWithError(1223);
    client.initialize();
    sim.playback("Headset");
    sim.advance(5000);
    expectErrorLines({"error during QueryPerformanceCounter1223"});
    EXPECT_EQ(sim.count("CoUninitialize"), 1u);
    EXPECT_EQ(sim.count("QueryPerformanceFrequency"), 0u);
    expectNotifications({});
    client.finalize();
}

SCENARIO(MonitorThread, End_UninitializesComAndEndsTheThread,
         "The thread ends by the runtime's own call, after COM.") {
    client.initialize();
    sim.advance(10);
    client.finalize();
    std::vector<std::string> calls;
    for (const CallRecord& call : sim.script().callsBeginning("")) {
        if (call.thread == "thread1")
            calls.push_back(call.name);
    }
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls.end()[-2], "CoUninitialize");
    EXPECT_EQ(calls.end()[-1], "_endthreadex");
}

SCENARIO(MonitorThread, EndWhileTheWakeIsTakenBack_IsNoticedAtOnce,
         "A signal to end that the thread takes back together with its wake does not cost it another second.") {
    client.initialize();
    sim.advance(900);
    sim.on("ResetEvent").onCall(1).takes(200);
    sim.advance(150);
    client.finalize();
    EXPECT_EQ(sim.now(), 1200);
}

SCENARIO(MonitorThread, FrequencyFails_LineAndComKept,
         "When the frequency of the counter cannot be read, a line with the system's error number goes to standard "
         "error and the thread ends; COM stays initialized on that way out.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("QueryPerformanceFrequency").onCall(1).failsWithError(4'000'000'000);
    client.initialize();
    sim.playback("Headset");
    sim.advance(999);
    expectErrorLines({});
    sim.advance(5000);
    expectErrorLines({"error during QueryPerformanceFrequency4000000000"});
    EXPECT_EQ(sim.count("CoUninitialize"), 0u);
    expectNotifications({});
    sim.expectLeft(Kind::comInitialization, 1);
    client.finalize();
}

SCENARIO(MonitorThread, FrequencyFailsLater_DevicesClosedBeforeItWereClosed,
         "The frequency is read at every wake, after the devices handed over for closing have been closed; it may "
         "fail at any of them.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.advance(3500);
    EXPECT_EQ(sim.count("QueryPerformanceFrequency"), 3u);
    sim.on("QueryPerformanceFrequency").failsWithError(31);
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    sim.advance(1);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    expectErrorLines({"Waiting for device to close", "error during QueryPerformanceFrequency31"});
    sim.expectLeft(Kind::comInitialization, 1);
    client.finalize();
}

SCENARIO(MonitorThread, CounterFailsInTheLoop_CountsAsNotDue,
         "When the counter cannot be read at a wake, no rescan is due then, nothing is written, and the next wake "
         "rescans.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.advance(1500);
    sim.playback("Headset");
    sim.on("QueryPerformanceCounter").onCall(1).failsWithError(31);
    sim.advance(1000); // past the wake at 2000
    expectNotifications({});
    sim.advance(1000);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    expectErrorLines({});
    client.finalize();
}

SCENARIO(MonitorThread, EndedEarly_ClosedDevicesWaitForFinalize,
         "When the thread has ended early, devices that the client closes stay as they are until finalize closes "
         "them on its own thread.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    sim.on("QueryPerformanceCounter").onCall(1).failsWithError(31);
    client.initialize();
    sim.advance(10);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.close(microphone), 0);
    sim.advance(5000);
    EXPECT_FALSE(sim.sound().living(speaker).empty());
    EXPECT_FALSE(sim.sound().living(microphone).empty());
    client.finalize();
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_TRUE(sim.sound().living(microphone).empty());
    expectErrorLines({"error during QueryPerformanceCounter31"});
}

SCENARIO(MonitorThread, Waits_OneSecondAtMost, "Between wakes the thread waits on its event for a second at most.") {
    client.initialize();
    sim.advance(3500);
    unsigned waits = 0;
    for (const CallRecord& call : sim.calls("WaitForSingleObject")) {
        if (call.thread != lastPriority(sim).thread)
            continue;
        ++waits;
        EXPECT_EQ(call.arguments, "1000");
        EXPECT_EQ(call.result, static_cast<long long>(WAIT_TIMEOUT));
    }
    EXPECT_EQ(waits, 3u);
    client.finalize();
}

SCENARIO(MonitorThread, FinalizeWhileItSleeps_TakesNoTime,
         "Finalize wakes the sleeping thread and does not wait for its second to pass.") {
    client.initialize();
    client.finalize(); // before the thread could even begin to wait
    client.initialize();
    sim.advance(300);
    const double before = sim.now();
    client.finalize();
    EXPECT_EQ(sim.now(), before);
}

SCENARIO(MonitorThread, FinalizeDuringARescan_WaitsForItsEnd,
         "Finalize during a rescan waits until the rescan is over and has told the client what it found.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.on("GetDeviceID").of("playback").onCall(1).takes(600);
    sim.playback("Headset");
    sim.advance(2300);
    client.finalize();
    EXPECT_EQ(sim.now(), 2600);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
}

SCENARIO(MonitorThread, CloseWhileTheClientIsTold_WaitsForTheNotification,
         "A device that is closed while the monitor's thread is inside notifyDeviceChange is closed when that "
         "returns; other exports go on meanwhile.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    client.onNotification = [&](const Notification& notification) {
        if (notification.event == 2)
            sim.spend(3000);
    };
    sim.playback("Headset");
    sim.advance(2500);
    ASSERT_EQ(client.notifications.size(), 1u);
    EXPECT_EQ(client.list(Direction::playback).size(), 2u);
    EXPECT_EQ(client.close(speaker), 0);
    sim.advance(1000);
    EXPECT_FALSE(sim.sound().living(speaker).empty());
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_EQ(sim.now(), 5000);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    client.finalize();
}

SCENARIO(MonitorThread, TwoBackends_EachTellsItsOwnClient,
         "Two backends at once have monitors of their own; each tells its client of a change.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    Client other(sim);
    client.initialize();
    other.initialize();
    sim.playback("Headset");
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    EXPECT_EQ(other.notifications.size(), 2u);
    other.finalize();
    client.finalize();
}
