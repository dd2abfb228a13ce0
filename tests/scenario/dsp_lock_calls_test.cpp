// What the audio loops do with the DSP lock around a callback, call by call.
#include "thread_calls.h"

#include <algorithm>

namespace scenario {
namespace {

using Texts = std::vector<std::string>;

// What a worker does next to its callbacks, from its first try of the lock to the end of the last hold.
Texts callsAroundCallback(Simulation& sim, const std::string& worker, std::size_t since, const Roles& roles) {
    const Texts calls = threadCalls(sim, worker, since, roles);
    const auto first = std::ranges::find(calls, "try dsp");
    const auto last = std::find(calls.rbegin(), calls.rend(), "leave dsp").base();
    return first < last ? Texts(first, last) : calls;
}

// The DSP lock's section and event, found by taking it.
Roles dspLock(Simulation& sim, Client& client) {
    client.lockDsp();
    client.unlockDsp();
    return {{sim.calls("LeaveCriticalSection").back().subject, "dsp"},
            {sim.calls("SetEvent").back().subject, "idle"}};
}

} // namespace
} // namespace scenario

SCENARIO(DspLock, PlaybackLoop_TriesResetsCallsSetsAndLeaves,
         "The playback loop tries the section, resets the idle event, has its callback, sets the idle event while it "
         "still owns the section, and leaves it; nothing else is entered or waited for meanwhile.") {
    const Device& speaker = sim.playback("Speaker").freezes();
    client.initialize();
    Roles roles = scenario::dspLock(sim, client);
    client.open(speaker);
    std::size_t atCallback = 0;
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        atCallback = callsSoFar(sim);
        return client.fillNumberedBlock(device, block);
    };
    const std::size_t before = callsSoFar(sim);
    client.start(speaker);
    EXPECT_EQ(scenario::callsAroundCallback(sim, "thread2", before, roles),
              (Texts{"try dsp", "reset idle", "set idle", "leave dsp"}));
    EXPECT_EQ(scenario::threadCalls(sim, "thread2", atCallback, roles).front(), "set idle");
    client.closeAndFinalize({&speaker});
}

SCENARIO(DspLock, CaptureLoop_TakesTheOtherSectionsInsideAndLeavesThemBeforeTheCallback,
         "The capture loop tries the section, resets the idle event, takes and leaves the echo reference's section, "
         "takes the one of the open playback devices and then that of the played blocks, leaves both, and only then "
         "has its callback, the idle event set and the section left.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    Roles roles = scenario::dspLock(sim, client);
    client.open(speaker);
    client.start(speaker);
    client.open(microphone);
    client.associate(microphone, speaker);
    // In the order in which they are made: open devices, DSP lock, monitor, speaker and its blocks, microphone and echo.
    roles.merge(scenario::Roles{{"S1", "playback devices"}, {"S6", "blocks"}, {"S8", "echo"}});
    client.start(microphone);
    sim.advance(505);
    EXPECT_TRUE(client.captured.back().hasEcho);
    std::size_t atCallback = 0;
    client.onCapture = [&](const std::string&, AudioBlock&, AudioBlock*) { atCallback = callsSoFar(sim); };
    const std::size_t before = callsSoFar(sim);
    EXPECT_TRUE(sim.advanceUntil([&] { return atCallback > 0; }));
    EXPECT_EQ(scenario::callsAroundCallback(sim, "thread3", before, roles),
              (Texts{"try dsp", "reset idle", "enter echo", "leave echo", "enter playback devices", "enter blocks",
                     "leave blocks", "leave playback devices", "set idle", "leave dsp"}));
    EXPECT_EQ(scenario::threadCalls(sim, "thread3", atCallback, roles).front(), "set idle");
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(
    DspLock, TakenSection_LoopWaitsForItsCommandFirstAndTheIdleEventSecond,
    "A loop that finds the section taken waits without limit for its command or the idle event, whichever comes, "
    "the command first; woken by the idle event it tries again, and woken by the command it leaves everything as "
    "it is.") {
    Device& speaker = sim.playback("Speaker").freezes();
    client.initialize();
    Roles roles = scenario::dspLock(sim, client);
    std::size_t before = callsSoFar(sim);
    client.open(speaker);
    roles.merge(eventsOf(sim, before));
    client.lockDsp();
    before = callsSoFar(sim);
    client.start(speaker);
    sim.advance(100);
    client.unlockDsp();
    sim.advance(1);
    EXPECT_EQ(scenario::callsAroundCallback(sim, "thread2", before, roles),
              (Texts{"try dsp", "wait command idle INFINITE", "try dsp", "reset idle", "set idle", "leave dsp"}));
    client.lockDsp();
    before = callsSoFar(sim);
    speaker.jumps(20);
    sim.advance(100);
    client.stop(speaker);
    sim.advance(1);
    client.unlockDsp();
    const Texts calls = scenario::threadCalls(sim, "thread2", before, roles);
    const auto tried = std::ranges::find(calls, "try dsp");
    ASSERT_GE(calls.end() - tried, 5);
    EXPECT_EQ(Texts(tried, tried + 5),
              (Texts{"try dsp", "wait command idle INFINITE", "enter S5", "reset command", "Secondary.Stop"}));
    client.closeAndFinalize({&speaker});
}

SCENARIO(DspLock, CaptureLoopWithoutPairing_LooksForNoPlaybackDevice,
         "A capture loop without an echo reference looks into its own section only, and not for a playback device.") {
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    Roles roles = scenario::dspLock(sim, client);
    client.open(microphone);
    roles.merge(scenario::Roles{{"S6", "echo"}});
    client.start(microphone);
    const std::size_t before = callsSoFar(sim);
    EXPECT_TRUE(sim.advanceUntil([&] { return client.capturedCount > 0; }));
    EXPECT_EQ(scenario::callsAroundCallback(sim, "thread2", before, roles),
              (Texts{"try dsp", "reset idle", "enter echo", "leave echo", "set idle", "leave dsp"}));
    client.closeAndFinalize({&microphone});
}

SCENARIO(DspLock, UnlockAndStopBeforeTheWait_TheStopWins,
         "When a loop that found the section taken has been told to stop and the lock has been given back before its "
         "wait begins, the stop wins: no callback comes any more.") {
    Device& speaker = sim.playback("Speaker").freezes();
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(100);
    const std::uint64_t requests = client.requestCount;
    client.lockDsp();
    sim.on("WaitForMultipleObjects").onCall(1).takes(50);
    speaker.jumps(20);
    sim.advance(40); // the loop has tried, and is on its way into the wait
    client.unlockDsp();
    client.stop(speaker);
    sim.advance(100);
    ASSERT_EQ(sim.count("WaitForMultipleObjects"), 1u);
    EXPECT_EQ(sim.calls("WaitForMultipleObjects")[0].result, WAIT_OBJECT_0);
    EXPECT_EQ(client.requestCount, requests);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(DspLock, UnlockWithoutLock_TouchesNeitherSectionNorEvent,
         "An unlock that no lock came before is not guarded: it answers 0 and touches neither section nor event, and "
         "the count is wrong from there on.") {
    client.initialize();
    const Roles roles = scenario::dspLock(sim, client);
    std::size_t before = callsSoFar(sim);
    EXPECT_EQ(client.unlockDsp(), 0);
    EXPECT_EQ(scenario::threadCalls(sim, "client", before, roles), Texts{});
    // The count is one below nothing: the next lock takes it for held by somebody else, and its unlock does not leave.
    before = callsSoFar(sim);
    EXPECT_EQ(client.lockDsp(), 0);
    EXPECT_EQ(client.unlockDsp(), 0);
    EXPECT_EQ(scenario::threadCalls(sim, "client", before, roles), Texts{"enter dsp"});
    sim.allowOwnedSectionAtRemoval(1);
    client.finalize();
}
