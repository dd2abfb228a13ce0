// How client, worker and monitor hand a device to each other: every section, signal and wait, in its order.
#include "thread_calls.h"

#include <algorithm>

namespace scenario {
namespace {

using Texts = std::vector<std::string>;

const std::string kClient = "client", kMonitor = "thread1", kWorker = "thread2";

// Sections are numbered in the order in which they are made: those of the open devices, of the DSP lock, of the
// monitor, then those of the first device that is opened.
Roles withSections(Roles roles) {
    roles.merge(Roles{{"S1", "playback devices"},
                      {"S2", "capture devices"},
                      {"S4", "lists"},
                      {"S5", "state"},
                      {"S6", "blocks or echo"}});
    return roles;
}

// The handle of the worker of the device that is opened in this scenario.
std::string threadHandle(const Simulation& sim) {
    for (const CallRecord& call : sim.calls("CloseHandle")) {
        if (call.subject.starts_with("T"))
            return call.subject;
    }
    return "no thread was closed";
}

Texts without(Texts calls, const std::string& prefix) {
    std::erase_if(calls, [&](const std::string& call) { return call.starts_with(prefix); });
    return calls;
}

} // namespace
} // namespace scenario

SCENARIO(Handshake, EventsOfADevice_StaySetUntilTheyAreReset,
         "A device's two events, the command and the reply, are made with manual reset, in both directions.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        const std::size_t before = sim.calls("CreateEventW").size();
        EXPECT_EQ(client.open(*device).result, 0);
        const std::vector<CallRecord> events = sim.calls("CreateEventW");
        ASSERT_EQ(events.size(), before + 2) << device->label();
        EXPECT_EQ(events[before].arguments, "manual reset") << device->label();
        EXPECT_EQ(events[before + 1].arguments, "manual reset") << device->label();
    }
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(Handshake, Open_ClientPostsUnderTheSectionAndWaitsOutsideIt,
         "Open posts its command under the device's section, waits for the reply without it and without limit, and "
         "takes the reply back under it; the worker waits for the command, takes it back, opens the device and "
         "replies, all of it under the section.") {
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    const std::size_t before = callsSoFar(sim);
    EXPECT_EQ(client.open(microphone).result, 0);
    const Roles roles = withSections(eventsOf(sim, before));
    EXPECT_EQ(threadCalls(sim, kClient, before, roles),
              (Texts{"enter capture devices", "leave capture devices", "InitializeCriticalSection", "CreateEventW",
                     "CreateEventW", "InitializeCriticalSection", "_beginthreadex", "enter state", "set command",
                     "leave state", "wait reply INFINITE", "enter state", "reset reply", "leave state",
                     "enter capture devices", "leave capture devices"}));
    EXPECT_EQ(
        threadCalls(sim, kWorker, before, roles),
        (Texts{"SetThreadPriority", "CoInitializeEx", "wait command INFINITE", "enter state", "reset command",
               "MultiByteToWideChar", "CLSIDFromString", "DirectSoundCaptureCreate8", "DirectSoundCapture.GetCaps",
               "DirectSoundCapture.CreateBuffer", "CaptureBuffer.QueryInterface", "CaptureBuffer.Release",
               "CaptureBuffer.GetFormat", "CaptureBuffer.GetCaps", "set reply", "leave state"}));
    client.closeAndFinalize({&microphone});
}

SCENARIO(
    Handshake, StartAndStop_StartWaitsForItsReplyAndStopForNothing,
    "Start posts, waits and takes its reply back like open; stop only posts. The worker replies to both: to start "
    "before the first block, to stop after the loop, with the command taken back before the device is stopped.") {
    const Device& speaker = sim.playback("Speaker").freezes();
    client.initialize();
    std::size_t before = callsSoFar(sim);
    EXPECT_EQ(client.open(speaker).result, 0);
    const Roles roles = withSections(eventsOf(sim, before));

    before = callsSoFar(sim);
    EXPECT_EQ(client.start(speaker), 0);
    EXPECT_EQ(threadCalls(sim, kClient, before, roles),
              (Texts{"enter playback devices", "leave playback devices", "enter state", "set command", "leave state",
                     "wait reply INFINITE", "enter state", "reset reply", "leave state"}));
    Texts worker = threadCalls(sim, kWorker, before, roles);
    worker.resize(8);
    EXPECT_EQ(worker, (Texts{"wait command INFINITE", "enter state", "reset command", "Secondary.Lock",
                             "Secondary.Unlock", "Secondary.Play", "set reply", "leave state"}));

    sim.advance(10);
    before = callsSoFar(sim);
    EXPECT_EQ(client.stop(speaker), 0);
    EXPECT_EQ(threadCalls(sim, kClient, before, roles), (Texts{"enter playback devices", "leave playback devices",
                                                               "enter state", "set command", "leave state"}));
    sim.advance(1);
    EXPECT_EQ(
        threadCalls(sim, kWorker, before, roles),
        (Texts{"wait command 21", "enter state", "reset command", "Secondary.Stop", "set reply", "leave state",
               "Primary.Release", "Secondary.Release", "DirectSound.Release", "CoUninitialize", "_endthreadex"}));
    client.closeAndFinalize({&speaker});
}

SCENARIO(Handshake, CloseWhileRunning_MonitorEndsTheWorkerThenTheDevice,
         "Close hands the device over under the monitor's section and wakes the monitor. The monitor takes an old "
         "reply back, posts the end under the device's section, waits for the worker's end without limit and without "
         "any section, and gives back what the device has: the thread, the command, the reply, the section. The "
         "worker stops the device without a reply.") {
    const Device& microphone = sim.capture("Microphone").freezes();
    client.initialize();
    std::size_t before = callsSoFar(sim);
    EXPECT_EQ(client.open(microphone).result, 0);
    Roles roles = withSections(eventsOf(sim, before));
    EXPECT_EQ(client.start(microphone), 0);
    sim.advance(10);

    before = callsSoFar(sim);
    EXPECT_EQ(client.close(microphone), 0);
    const Texts client1 = threadCalls(sim, kClient, before, roles);
    sim.advance(1);
    roles[threadHandle(sim)] = "worker";
    roles[sim.calls("SetEvent").back().subject] = "all closed";
    const std::string wake = client1.at(client1.size() - 2).substr(4);
    roles[wake] = "wake";
    EXPECT_EQ(threadCalls(sim, kClient, before, roles),
              (Texts{"enter capture devices", "leave capture devices", "enter capture devices",
                     "leave capture devices", "enter lists", "set wake", "leave lists"}));
    EXPECT_EQ(threadCalls(sim, kMonitor, before, roles), (Texts{"wait wake 1000",
                                                                "enter lists",
                                                                "leave lists",
                                                                "reset wake",
                                                                "enter lists",
                                                                "leave lists",
                                                                "enter lists",
                                                                "leave lists",
                                                                "reset reply",
                                                                "enter state",
                                                                "set command",
                                                                "leave state",
                                                                "wait worker INFINITE",
                                                                "delete blocks or echo",
                                                                "close worker",
                                                                "close command",
                                                                "close reply",
                                                                "delete state",
                                                                "enter lists",
                                                                "set all closed",
                                                                "leave lists",
                                                                "QueryPerformanceFrequency",
                                                                "QueryPerformanceCounter"}));
    EXPECT_EQ(threadCalls(sim, kWorker, before, roles),
              (Texts{"wait command 21", "enter state", "CaptureBuffer.Stop", "leave state", "CaptureBuffer.Release",
                     "DirectSoundCapture.Release", "CoUninitialize", "_endthreadex"}));
    client.finalize();
}

SCENARIO(Handshake, CloseBeforeStart_WorkerLooksAtNothing,
         "The worker of a device that was never started sees at its next command that it is to end, and releases the "
         "device.") {
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    std::size_t before = callsSoFar(sim);
    EXPECT_EQ(client.open(microphone).result, 0);
    const Roles roles = withSections(eventsOf(sim, before));
    before = callsSoFar(sim);
    EXPECT_EQ(client.close(microphone), 0);
    sim.advance(1);
    EXPECT_EQ(threadCalls(sim, kWorker, before, roles),
              (Texts{"wait command INFINITE", "enter state", "leave state", "CaptureBuffer.Release",
                     "DirectSoundCapture.Release", "CoUninitialize", "_endthreadex"}));
    client.finalize();
}

SCENARIO(Handshake, FailedOpen_ClientEndsTheWorkerThenTheDevice,
         "An open that fails takes the reply back, posts the end, waits for the worker's end without limit, gives "
         "back what the device had, and only then returns; the worker has released the device by itself.") {
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    const std::size_t before = callsSoFar(sim);
    sim.on("DirectSoundCapture.CreateBuffer").onCall(1).fails(DSERR_GENERIC);
    EXPECT_EQ(client.open(microphone).result, -207);
    Roles roles = withSections(eventsOf(sim, before));
    roles[threadHandle(sim)] = "worker";
    const Texts calls = without(threadCalls(sim, kClient, before, roles), "enter capture");
    const auto reply = std::ranges::find(calls, "wait reply INFINITE");
    EXPECT_EQ(Texts(reply, calls.end()),
              (Texts{"wait reply INFINITE", "enter state", "reset reply", "leave state", "reset reply", "enter state",
                     "set command", "leave state", "wait worker INFINITE", "delete blocks or echo", "close worker",
                     "close command", "close reply", "delete state"}));
    Texts worker = threadCalls(sim, kWorker, before, roles);
    worker.erase(worker.begin(), std::ranges::find(worker, "set reply"));
    EXPECT_EQ(worker,
              (Texts{"set reply", "leave state", "DirectSoundCapture.Release", "CoUninitialize", "_endthreadex"}));
    client.finalize();
}

SCENARIO(Handshake, WaitForClosed_TakesOldNewsBackAndWaitsOutsideTheSection,
         "The wait takes old news back and looks at the list under the monitor's section, and then waits for news "
         "without it and without limit; with nothing to wait for it only looks.") {
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    sim.advance(10);
    std::size_t before = callsSoFar(sim);
    EXPECT_EQ(client.waitForClosed(), 0);
    const std::string news = sim.calls("ResetEvent").back().subject;
    const Roles roles = withSections({{news, "all closed"}});
    EXPECT_EQ(threadCalls(sim, kClient, before, roles), (Texts{"enter lists", "reset all closed", "leave lists"}));
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_EQ(client.close(microphone), 0);
    before = callsSoFar(sim);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_EQ(threadCalls(sim, kClient, before, roles),
              (Texts{"enter lists", "reset all closed", "leave lists", "wait all closed INFINITE"}));
    client.finalize();
}
