// Starting and stopping devices, and what their worker threads do.
#include "scenario.h"

#include <algorithm>

namespace scenario {
namespace {

std::vector<CallRecord> callsOf(Simulation& sim, const std::string& thread) {
    std::vector<CallRecord> calls = sim.script().callsBeginning("");
    std::erase_if(calls, [&](const CallRecord& call) { return call.thread != thread; });
    return calls;
}

std::vector<std::string> namesOf(const std::vector<CallRecord>& calls, const std::vector<std::string>& wanted) {
    std::vector<std::string> names;
    for (const CallRecord& call : calls) {
        if (std::ranges::find(wanted, call.name) != wanted.end())
            names.push_back(call.name + (call.arguments.empty() ? "" : " " + call.arguments));
    }
    return names;
}

} // namespace
} // namespace scenario

SCENARIO(StartStop, Device_RunsOnce,
         "A device runs once: a start while it runs, after a stop, or of an opened device's second time answers "
         "-232.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        EXPECT_EQ(client.start(*device), 0);
        EXPECT_EQ(client.start(*device), -232);
        sim.advance(100);
        EXPECT_EQ(client.stop(*device), 0);
        sim.advance(10);
        EXPECT_EQ(client.start(*device), -232);
        EXPECT_EQ(client.stop(*device), 0);
    }
    EXPECT_EQ(sim.count("Secondary.Play"), 1u);
    EXPECT_EQ(sim.count("CaptureBuffer.Start"), 1u);
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(StartStop, ReopenedDevice_RunsAgain, "A device that was stopped, closed and opened anew starts again.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(client.open(speaker).result, 0);
        EXPECT_EQ(client.start(speaker), 0);
        sim.advance(100);
        EXPECT_EQ(client.stop(speaker), 0);
        EXPECT_EQ(client.close(speaker), 0);
    }
    EXPECT_EQ(sim.count("Secondary.Play"), 3u);
    client.waitForClosed();
    client.finalize();
}

SCENARIO(StartStop, StopBeforeStart_DoesNothing,
         "Stop of a device that is open but not started answers 0 and changes nothing: it can still be started.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(10);
    EXPECT_EQ(sim.count("Secondary.Stop"), 0u);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(200);
    EXPECT_GT(client.requestCount, 5u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(StartStop, Stop_DoesNotWaitForTheDevice,
         "Stop answers 0 at once, however long the device takes, and whether or not it succeeds.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(100);
    sim.on("Secondary.Stop").takes(300).fails(DSERR_GENERIC);
    const double before = sim.now();
    EXPECT_EQ(client.stop(speaker), 0);
    EXPECT_DOUBLE_EQ(sim.now(), before);
    EXPECT_EQ(sim.count("Secondary.Stop"), 0u);
    sim.advance(400);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_EQ(client.logTexts(1).size(), 1u);
    EXPECT_EQ(client.start(speaker), -232);
    client.closeAndFinalize({&speaker});
}

SCENARIO(StartStop, OpenAndStart_WaitForTheirAnswers, "Open and start return when the worker has carried them out.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.on("DirectSoundCreate8").takes(200);
    sim.on("Secondary.Play").takes(300);
    double before = sim.now();
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_DOUBLE_EQ(sim.now(), before + 200);
    before = sim.now();
    EXPECT_EQ(client.start(speaker), 0);
    EXPECT_DOUBLE_EQ(sim.now(), before + 300);
    client.closeAndFinalize({&speaker});
}

SCENARIO(StartStop, FailedStart_ReturnsItsCodeAndEndsTheWorker,
         "A failed start returns its own code; the worker gives the device back by itself, another start answers "
         "-232, a stop 0, and the device is still to be closed.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    client.open(speaker);
    client.open(microphone);
    sim.on("Secondary.Play").fails(DSERR_GENERIC);
    sim.on("CaptureBuffer.Start").fails(DSERR_GENERIC);
    EXPECT_EQ(client.start(speaker), -221);
    EXPECT_EQ(client.start(microphone), -223);
    sim.advance(1);
    for (const Device* device : {&speaker, &microphone}) {
        EXPECT_TRUE(sim.sound().living(*device).empty());
        EXPECT_EQ(client.start(*device), -232);
        EXPECT_EQ(client.stop(*device), 0);
        EXPECT_EQ(client.open(*device).result, -120);
    }
    EXPECT_EQ(sim.count("Secondary.Stop") + sim.count("CaptureBuffer.Stop"), 0u);
    EXPECT_EQ(client.requestCount + client.capturedCount, 0u);
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(StartStop, LoopThatFails_StopsTheDeviceByItself,
         "When a device fails while it runs, its worker stops it and gives it back without being told; stop answers "
         "0, start -232.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(200);
    sim.on("Secondary.GetCurrentPosition").fails(DSERR_GENERIC);
    sim.advance(50);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_EQ(client.stop(speaker), 0);
    EXPECT_EQ(client.start(speaker), -232);
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    StartStop, Worker_RaisesPriorityThenInitializesComThenOpens,
    "A worker sets its priority to 15, initializes COM in the multithreaded apartment (flags 0), and does all of "
    "the device's work in order: open, play, stop, release, buffer before device, then uninitializes COM.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.advance(1);
    client.open(speaker);
    const std::string worker = sim.calls("DirectSoundCreate8").at(0).thread;
    EXPECT_NE(worker, "client");
    client.start(speaker);
    sim.advance(100);
    client.stop(speaker);
    sim.advance(10);
    client.closeAndFinalize({&speaker});
    const std::vector<CallRecord> calls = scenario::callsOf(sim, worker);
    const std::vector<std::string> steps = {"SetThreadPriority", "CoInitializeEx",      "DirectSoundCreate8",
                                            "Secondary.Stop",    "DirectSound.Release", "CoUninitialize",
                                            "_endthreadex"};
    const std::vector<std::string> expected = {"SetThreadPriority 15", "CoInitializeEx flags 0", "DirectSoundCreate8",
                                               "Secondary.Stop",       "DirectSound.Release",    "CoUninitialize",
                                               "_endthreadex"};
    EXPECT_EQ(scenario::namesOf(calls, steps), expected);
    // Nobody else touches the device.
    for (const char* prefix : {"DirectSound.", "Secondary.", "Primary."}) {
        EXPECT_FALSE(sim.script().callsBeginning(prefix).empty());
        for (const CallRecord& call : sim.script().callsBeginning(prefix))
            EXPECT_EQ(call.thread, worker) << call.name;
    }
}

SCENARIO(StartStop, CloseOfARunningDevice_StopsItBeforeItIsReleased,
         "A running device that is closed is stopped, then released, both by its worker; only then is its thread's "
         "handle closed, before those of its two events.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(100);
    const std::size_t before = sim.script().callsBeginning("").size();
    client.close(speaker);
    client.waitForClosed();
    std::vector<std::string> names;
    const std::vector<CallRecord> calls = sim.script().callsBeginning("");
    for (std::size_t i = before; i < calls.size(); ++i) {
        if (calls[i].name == "CloseHandle")
            names.push_back("CloseHandle " + calls[i].subject.substr(0, 1));
        else if (calls[i].name == "Secondary.Stop" || calls[i].name == "DirectSound.Release" ||
                 calls[i].name == "_endthreadex")
            names.push_back(calls[i].name);
    }
    const std::vector<std::string> expected = {"Secondary.Stop", "DirectSound.Release", "_endthreadex",
                                               "CloseHandle T",  "CloseHandle E",       "CloseHandle E"};
    EXPECT_EQ(names, expected);
    client.finalize();
}

SCENARIO(StartStop, CloseBeforeStart_ReleasesWithoutStopping,
         "A device that was opened and never started is released without being stopped.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    client.open(speaker);
    client.open(microphone);
    client.close(speaker);
    client.close(microphone);
    client.waitForClosed();
    EXPECT_EQ(sim.count("Secondary.Stop") + sim.count("CaptureBuffer.Stop"), 0u);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_TRUE(sim.sound().living(microphone).empty());
    client.finalize();
}

SCENARIO(StartStop, OutOfMemoryAtStart_ReturnsAndEndsTheDevice,
         "An allocation that fails while a device runs ends its worker like a failed device; nothing hangs.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(200);
    sim.on("malloc").onCall(1).fails();
    sim.advance(100);
    sim.script().clear();
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_EQ(client.start(speaker), -232);
    client.closeAndFinalize({&speaker});
}
