// The lock that keeps audio callbacks away from the client's signal processing.
#include "scenario.h"

namespace scenario {
namespace {

// The client's own calls on sections and events since a moment, as "SetEvent E3".
std::vector<std::string> clientCalls(Simulation& sim, std::size_t from) {
    std::vector<std::string> names;
    const std::vector<CallRecord> calls = sim.script().callsBeginning("");
    for (std::size_t i = from; i < calls.size(); ++i) {
        if (calls[i].thread == "client")
            names.push_back(calls[i].name);
    }
    return names;
}

} // namespace
} // namespace scenario

SCENARIO(DspLock, LockTwiceUnlockTwice_TouchesSectionAndEventAsymmetrically,
         "Every lock enters the section, only the first resets the idle event; only the last unlock sets the event, "
         "while it still owns the section, and then leaves it once.") {
    client.initialize();
    const std::size_t before = sim.script().callsBeginning("").size();
    client.lockDsp();
    client.lockDsp();
    client.unlockDsp();
    client.unlockDsp();
    const std::vector<std::string> expected = {"EnterCriticalSection", "ResetEvent", "EnterCriticalSection",
                                               "SetEvent", "LeaveCriticalSection"};
    EXPECT_EQ(clientCalls(sim, before), expected);
    EXPECT_EQ(sim.kernel().ownedBy(*Scheduler::current()).size(), 1u);
    sim.allowOwnedSectionAtRemoval(1);
    client.finalize();
    // The section went with the backend, so the thread owns nothing any more.
    EXPECT_TRUE(sim.kernel().ownedBy(*Scheduler::current()).empty());
}

SCENARIO(DspLock, LockOnceUnlockOnce_LeavesTheSection, "A lock and its unlock leave nothing locked.") {
    client.initialize();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(client.lockDsp(), 0);
        EXPECT_EQ(sim.kernel().ownedBy(*Scheduler::current()).size(), 1u);
        EXPECT_EQ(client.unlockDsp(), 0);
        EXPECT_TRUE(sim.kernel().ownedBy(*Scheduler::current()).empty());
    }
    client.finalize();
}

SCENARIO(DspLock, LockTwiceUnlockTwice_KeepsOtherThreadsOut,
         "After two locks and two unlocks another thread's lock waits without end.") {
    client.initialize();
    client.lockDsp();
    client.lockDsp();
    client.unlockDsp();
    client.unlockDsp();
    EXPECT_TRUE(hangs([this] { sim.exports().orvosoundbackend_lockDSP(client.backend); }));
    endsStuck = true; // the other thread still waits for the section
}

SCENARIO(DspLock, Lock_WaitsForAnotherThreadsUnlock, "A lock waits until the other thread has unlocked.") {
    client.initialize();
    client.lockDsp();
    double locked = 0;
    const ClientThread other = sim.thread("other", [&] {
        sim.exports().orvosoundbackend_lockDSP(client.backend);
        locked = sim.now();
        sim.exports().orvosoundbackend_unlockDSP(client.backend);
    });
    const double before = sim.now();
    sim.advance(300);
    EXPECT_FALSE(other.finished());
    client.unlockDsp();
    sim.advance(1);
    EXPECT_TRUE(other.finished());
    EXPECT_DOUBLE_EQ(locked, before + 300);
    client.finalize();
}

SCENARIO(DspLock, HeldLock_KeepsAllCallbacksAway,
         "While the client holds the lock no audio callback comes, and after the unlock they go on at once.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    sim.advance(500);
    client.lockDsp();
    const std::uint64_t requests = client.requestCount;
    const std::uint64_t blocks = client.capturedCount;
    EXPECT_GT(requests, 20u);
    EXPECT_GT(blocks, 20u);
    sim.advance(300);
    EXPECT_EQ(client.requestCount, requests);
    EXPECT_EQ(client.capturedCount, blocks);
    client.unlockDsp();
    sim.advance(5);
    EXPECT_GE(client.requestCount, requests + 14);
    EXPECT_GE(client.capturedCount, blocks + 14);
    for (const CallRecord& wait : sim.calls("WaitForMultipleObjects")) {
        EXPECT_EQ(wait.arguments, "INFINITE");
        EXPECT_EQ(wait.result, WAIT_OBJECT_0 + 1);
    }
    EXPECT_EQ(sim.count("WaitForMultipleObjects"), 2u) << "each loop sleeps until the unlock";
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(DspLock, LockDuringCallback_WaitsForItsEnd,
         "A lock that comes while an audio callback runs returns when the callback has returned.") {
    const Device& speaker = sim.playback("Speaker");
    bool inside = false;
    double left = 0;
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        inside = true;
        sim.spend(15);
        inside = false;
        left = sim.now();
        return client.fillNumberedBlock(device, block);
    };
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(sim.advanceUntil([&] { return inside; }));
        client.lockDsp();
        EXPECT_FALSE(inside);
        EXPECT_DOUBLE_EQ(sim.now(), left);
        client.unlockDsp();
        sim.advance(20);
    }
    client.closeAndFinalize({&speaker});
}

SCENARIO(DspLock, StopWhileHeld_StopsTheDeviceWithoutTheLock,
         "A stop reaches a device whose loop waits for the lock, while the client still holds it, in both "
         "directions; the loop does not look at its device again.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    sim.advance(500);
    client.lockDsp();
    sim.advance(100);
    const std::uint64_t callbacks = client.requestCount + client.capturedCount;
    const auto looks = [this] {
        return sim.count("Secondary.GetCurrentPosition") + sim.count("CaptureBuffer.GetCurrentPosition");
    };
    const unsigned looksBefore = looks();
    EXPECT_EQ(client.stop(speaker), 0);
    EXPECT_EQ(client.stop(microphone), 0);
    sim.advance(1);
    EXPECT_EQ(looks(), looksBefore);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 1u);
    EXPECT_EQ(client.requestCount + client.capturedCount, callbacks);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_TRUE(sim.sound().living(microphone).empty());
    client.unlockDsp();
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(DspLock, CloseWhileHeld_IsWaitedForWithoutTheLock,
         "Devices are closed and waited for while the client holds the lock.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    sim.advance(500);
    client.lockDsp();
    sim.advance(100);
    const double before = sim.now();
    client.close(speaker);
    client.close(microphone);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_LT(sim.now() - before, 5);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_TRUE(sim.sound().living(microphone).empty());
    client.unlockDsp();
    client.finalize();
}

SCENARIO(DspLock, LoopsUnderAbandonedSection_StillObeyAStop,
         "When a thread owns the section for ever after two locks and two unlocks, no callback comes, the loop tries "
         "without pause, and a stop still ends it.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(500);
    client.lockDsp();
    client.lockDsp();
    client.unlockDsp();
    client.unlockDsp();
    const std::uint64_t requests = client.requestCount;
    const unsigned tries = sim.count("TryEnterCriticalSection");
    sim.advance(25);
    EXPECT_EQ(client.requestCount, requests);
    EXPECT_GT(sim.count("TryEnterCriticalSection"), tries + 1000);
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(5);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    sim.allowOwnedSectionAtRemoval(1);
    client.closeAndFinalize({&speaker});
    // Two locks and two unlocks never freed the section, so no callback followed.
    EXPECT_EQ(client.requestCount, requests);
}
