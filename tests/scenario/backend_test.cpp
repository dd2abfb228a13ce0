// How the backend object comes and goes: timer, window, monitor, and what happens when one of them is refused.
#include "thread_calls.h"

#include <algorithm>

namespace scenario {
namespace {

// The names of the calls that matter, in the order of their ends.
std::vector<std::string> namesOf(Simulation& sim, const std::vector<std::string>& wanted, std::size_t from = 0) {
    std::vector<std::string> names;
    const std::vector<CallRecord> calls = sim.script().callsBeginning("");
    for (std::size_t i = from; i < calls.size(); ++i) {
        const CallRecord& call = calls[i];
        if (std::ranges::find(wanted, call.name) == wanted.end())
            continue;
        names.push_back(call.name);
        if (call.name == "CreateEventW")
            names.back().append(" ").append(call.arguments);
    }
    return names;
}

} // namespace
} // namespace scenario

SCENARIO(
    Backend, Creation_TakesTimerEventWindowAndMonitorInOrder,
    "The backend takes the timer period, the DSP lock's section and event, the window, the monitor's section and "
    "events, the first lists and the monitor thread, in this order.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    const std::vector<std::string> expected = {"timeGetDevCaps",
                                               "timeBeginPeriod",
                                               "InitializeCriticalSection",
                                               "CreateEventW manual reset",
                                               "CreateWindowExW",
                                               "InitializeCriticalSection",
                                               "CreateEventW manual reset",
                                               "CreateEventW auto reset",
                                               "DirectSoundEnumerateW",
                                               "DirectSoundCaptureEnumerateW",
                                               "_beginthreadex"};
    std::vector<std::string> names =
        namesOf(sim, {"timeGetDevCaps", "timeBeginPeriod", "InitializeCriticalSection", "CreateEventW",
                      "CreateWindowExW", "DirectSoundEnumerateW", "DirectSoundCaptureEnumerateW", "_beginthreadex"});
    names.erase(names.begin(), std::ranges::find(names, "timeGetDevCaps")); // the sections of the open devices
    EXPECT_EQ(names, expected);
    client.finalize();
}

SCENARIO(Backend, Destruction_EndsMonitorThenWindowThenTimerThenLock,
         "Finalize tells the monitor to stop under its section and waits for its end without limit, gives back its "
         "section, its news of closed devices and its wake event, then destroys the window, gives the timer period "
         "back, and closes the DSP lock's event before its section.") {
    client.initialize();
    sim.advance(10);
    client.lockDsp();
    client.unlockDsp();
    const std::string dspSection = sim.calls("LeaveCriticalSection").back().subject;
    const std::string dspEvent = sim.calls("SetEvent").back().subject;
    client.waitForClosed();
    scenario::Roles roles = {{dspSection, "DSP section"},
                             {dspEvent, "DSP event"},
                             {sim.calls("EnterCriticalSection").back().subject, "monitor"},
                             {sim.calls("ResetEvent").back().subject, "news"}};
    const std::size_t before = scenario::callsSoFar(sim);
    client.finalize();
    roles[sim.calls("WaitForSingleObject").back().subject] = "thread";
    for (const CallRecord& wait : sim.calls("WaitForSingleObject")) {
        if (wait.arguments == "1000")
            roles[wait.subject] = "wake";
    }
    std::vector<std::string> calls = scenario::threadCalls(sim, "client", before, roles);
    ASSERT_GT(calls.size(), 2u);
    calls.resize(calls.size() - 2); // the sections of the open devices
    EXPECT_EQ(calls, (std::vector<std::string>{"enter monitor", "set wake", "leave monitor", "wait thread INFINITE",
                                               "enter monitor", "set news", "leave monitor", "delete monitor",
                                               "close news", "close wake", "DestroyWindow", "timeEndPeriod",
                                               "close DSP event", "delete DSP section"}));
}

SCENARIO(Backend, TimerPeriod_IsLoggedBeforeItIsSet,
         "The client reads \"setting timer resolution to 1ms\" at level 3, for no device, before the timer is set.") {
    std::size_t linesBefore = 0;
    sim.on("timeBeginPeriod").does([&] { linesBefore = client.logs.size(); });
    client.initialize();
    EXPECT_EQ(linesBefore, 1u);
    ASSERT_EQ(client.logs.size(), 1u);
    EXPECT_EQ(client.logs[0].text, "setting timer resolution to 1ms");
    EXPECT_EQ(client.logs[0].category, "");
    EXPECT_EQ(client.logs[0].level, 3);
    EXPECT_EQ(client.logs[0].thread, "client");
    client.finalize();
}

SCENARIO(Backend, OtherTimerPeriod_IsTakenAndGivenBackAsReported,
         "Whatever smallest period the timer reports is set, logged as an unsigned number and given back.") {
    for (const char* period : {"1016", "4000000000"}) {
        sim.system().timerMinimum = static_cast<DWORD>(std::stoul(period));
        client.logs.clear();
        client.initialize();
        EXPECT_EQ(client.logTexts(3),
                  std::vector<std::string>{std::string("setting timer resolution to ") + period + "ms"});
        EXPECT_EQ(sim.calls("timeBeginPeriod").back().arguments, period);
        EXPECT_EQ(sim.count("timeBeginPeriod"), sim.count("timeEndPeriod") + 1);
        client.finalize();
        EXPECT_EQ(sim.calls("timeEndPeriod").back().arguments, period);
    }
    EXPECT_EQ(sim.count("timeBeginPeriod"), 2u);
    EXPECT_EQ(sim.count("timeEndPeriod"), 2u);
}

SCENARIO(Backend, TimerThatCannotBeRead_IsLeftAloneInSilence,
         "When the timer's capabilities cannot be read, its period is neither changed nor logged.") {
    sim.on("timeGetDevCaps").fails();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(client.logs.empty());
    client.finalize();
    EXPECT_EQ(sim.count("timeBeginPeriod") + sim.count("timeEndPeriod"), 0u);
}

SCENARIO(Backend, TimerWithoutMinimum_IsLeftAloneInSilence,
         "A timer that reports a smallest period of 0 is neither changed nor logged.") {
    sim.system().timerMinimum = 0;
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(client.logs.empty());
    client.finalize();
    EXPECT_EQ(sim.count("timeBeginPeriod") + sim.count("timeEndPeriod"), 0u);
}

SCENARIO(Backend, WithoutLogCallback_RaisesTheTimerAllTheSame,
         "Without a log callback nothing is logged, but the timer is raised and devices run.") {
    const Device& speaker = sim.playback("Speaker").emulated();
    client.callbacks.logMessage = nullptr;
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(sim.count("timeBeginPeriod"), 1u);
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.on("Secondary.Play").fails(DSERR_GENERIC);
    EXPECT_EQ(client.start(speaker), -221);
    EXPECT_TRUE(client.logs.empty());
    client.closeAndFinalize({&speaker});
}

SCENARIO(Backend, Table_IsCopiedAtInitialize,
         "The table of callbacks is copied: the client may change or drop its own afterwards.") {
    const Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    client.callbacks = {};
    Device& headset = sim.playback("Headset").absent();
    client.open(speaker);
    client.start(speaker);
    headset.hotplug();
    sim.advance(2500);
    EXPECT_GT(client.requestCount, 0u);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    client.closeAndFinalize({&speaker});
}

SCENARIO(Backend, Window_IsHiddenAndMessageOnly,
         "The window is a message-only BUTTON named Orvo_DirectSound without style, size or place, of the process "
         "itself.") {
    client.initialize();
    ASSERT_EQ(sim.calls("CreateWindowExW").size(), 1u);
    EXPECT_EQ(sim.calls("CreateWindowExW")[0].arguments, "BUTTON Orvo_DirectSound zero message-only process");
    EXPECT_EQ(sim.calls("CreateWindowExW")[0].thread, "client");
    client.finalize();
}

SCENARIO(Backend, WindowThatCannotBeCreated_FailsInitializeAndGivesEverythingBack,
         "Without a window initialize answers -8 and null, writes the system's error number to standard error, "
         "starts no monitor and gives the timer period back.") {
    sim.on("CreateWindowExW").failsWithError(1158);
    client.backend = reinterpret_cast<DirectSoundBackend*>(this);
    EXPECT_EQ(client.initialize(), -8);
    EXPECT_EQ(client.backend, nullptr);
    expectErrorLines({"CreateWindow error 1158"});
    EXPECT_EQ(sim.count("_beginthreadex"), 0u);
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 0u);
    EXPECT_EQ(sim.count("DestroyWindow"), 0u);
    EXPECT_EQ(sim.count("timeEndPeriod"), 1u);
}

SCENARIO(Backend, TwoBackends_AreIndependent, "Two backends exist at once, each with its own devices.") {
    const Device& speaker = sim.playback("Speaker");
    Client other(sim);
    client.initialize();
    other.initialize();
    EXPECT_NE(client.backend, other.backend);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(other.open(speaker).result, 0);
    other.closeAndFinalize({&speaker});
    EXPECT_EQ(client.start(speaker), 0);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Backend, EventsThatCannotBeCreated_LeaveAUsableBackendWithoutMonitor,
         "Without events there is a backend, but no list and no monitor thread; standard error says so once, an open "
         "answers -233, and nothing hangs.") {
    const Device& speaker = sim.playback("Speaker");
    sim.on("CreateEventW").fails();
    EXPECT_EQ(client.initialize(), 0);
    sim.expectLeft(Kind::threadHandle, 0);
    expectErrorLines({"Error int CreateEvent"});
    EXPECT_EQ(sim.count("_beginthreadex"), 0u);
    EXPECT_TRUE(client.list(Direction::playback).empty());
    EXPECT_EQ(client.open(speaker).result, -233);
    EXPECT_EQ(client.lockDsp(), 0);
    EXPECT_EQ(client.unlockDsp(), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_EQ(client.finalize(), 0);
    expectErrorLines({"Error int CreateEvent", "Error int CreateEvent"});
}

SCENARIO(Backend, MonitorThreadThatCannotBeStarted_HangsNothing,
         "When the monitor thread cannot be started, devices still open, run and close, and finalize returns.") {
    const Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("_beginthreadex").onCall(1).fails();
    EXPECT_EQ(client.initialize(), 0);
    sim.expectLeft(Kind::threadHandle, 0);
    EXPECT_EQ(client.list(Direction::playback).size(), 1u);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
}

SCENARIO(Backend, OutOfMemory_FailsOrGoesWithout,
         "Whichever allocation of initialize fails, the answer is -8 with a null backend, or a backend that merely "
         "lacks the log line or its first lists; nothing stays behind.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    unsigned failed = 0;
    for (unsigned n = 1; n < 500; ++n) {
        const Rule& rule = sim.on("malloc").onCall(n).maybe().fails();
        client.backend = reinterpret_cast<DirectSoundBackend*>(this);
        const BackendResult result = client.initialize();
        const bool hit = rule.hits() > 0;
        sim.script().clear();
        EXPECT_TRUE(result == 0 || (result == -8 && hit)) << "allocation " << n << ": " << result;
        EXPECT_EQ(client.backend == nullptr, result == -8) << "allocation " << n;
        failed += result == -8;
        if (result == 0)
            client.finalize();
        EXPECT_EQ(sim.ledger().open(Kind::window), 0u);
        EXPECT_EQ(sim.ledger().open(Kind::timerPeriod), 0u);
        EXPECT_EQ(sim.ledger().open(Kind::event), 0u);
        if (!hit)
            break;
    }
    EXPECT_GT(failed, 2u);
}
