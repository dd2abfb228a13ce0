// Exports that find no memory: they answer -1, nothing has changed, and the next call works.
#include "scenario.h"

#include <functional>

namespace scenario {
namespace {

// Makes each allocation of an export fail in turn until it needs no more; how many there were. An answer other than
// `failure` with a refused allocation, or a call after which the check does not hold, is a failure of the test.
unsigned refuseEachAllocation(Simulation& sim, BackendResult failure, const std::function<BackendResult()>& call,
                              const std::function<void()>& check) {
    for (unsigned n = 1; n < 50; ++n) {
        const Rule& rule = sim.on("malloc").onCall(n).maybe().fails();
        const BackendResult result = call();
        const bool refused = rule.hits() > 0;
        sim.script().clear();
        if (!refused) {
            EXPECT_EQ(result, 0);
            return n - 1;
        }
        EXPECT_EQ(result, failure) << "allocation " << n;
        check();
    }
    ADD_FAILURE() << "there is no end of allocations";
    return 0;
}

} // namespace
} // namespace scenario

SCENARIO(Exports, NoMemoryAtStartStopAndClose_AnswersMinus1AndChangesNothing,
         "Start, stop and close that find no memory answer -1 and change nothing: a device that is open stays open, "
         "one that runs goes on, and the next call does what it should.") {
    const Device& speaker = sim.playback("Speaker").freezes();
    client.initialize();
    client.open(speaker);
    sim.advance(1);
    // The loop of the frozen device needs memory for its first block only, which comes after the answer.
    EXPECT_GE(scenario::refuseEachAllocation(
                  sim, -1, [&] { return client.start(speaker, 8) == -144 ? 0 : -1; },
                  [&] { EXPECT_EQ(sim.count("Secondary.Play"), 0u); }),
              1u);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    EXPECT_GE(scenario::refuseEachAllocation(
                  sim, -1, [&] { return client.stop(speaker); },
                  [&] {
                      sim.advance(50);
                      EXPECT_EQ(sim.count("Secondary.Stop"), 0u);
                  }),
              1u);
    sim.advance(1);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    EXPECT_GE(scenario::refuseEachAllocation(
                  sim, -1, [&] { return client.close(speaker); },
                  [&] {
                      sim.advance(50);
                      EXPECT_EQ(client.start(speaker), -232) << "it is still there";
                  }),
              2u);
    EXPECT_EQ(client.start(speaker), -121);
    client.waitForClosed();
    client.finalize();
}

SCENARIO(Exports, NoMemoryAtTheWait_Answers0,
         "The wait for closed devices needs no memory: it answers 0 when the devices are gone, with its line.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(100);
    client.close(speaker);
    sim.on("malloc").maybe().fails();
    EXPECT_EQ(sim.exports().orvosoundbackend_waitForClosedDevices(client.backend), 0);
    sim.script().clear();
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    expectErrorLines({"Waiting for device to close"});
    client.finalize();
}

SCENARIO(Exports, NoMemoryForTheSupportLine_AnswersMinus1,
         "A support check that fails and finds no memory for its line answers -1 without one; a check that succeeds "
         "needs none.") {
    sim.on("malloc").onCall(1).fails(); // met by the line
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    sim.on("DirectSoundEnumerateW").fails(DSERR_NODRIVER);
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -1);
    expectOutputLines({});
    sim.script().clear();
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
}

SCENARIO(Exports, NoMemoryAtLockAndUnlock_LocksAndUnlocks, "The DSP lock needs no memory.") {
    client.initialize();
    sim.on("malloc").maybe().fails();
    EXPECT_EQ(client.lockDsp(), 0);
    EXPECT_EQ(sim.kernel().ownedBy(*Scheduler::current()).size(), 1u);
    EXPECT_EQ(client.unlockDsp(), 0);
    EXPECT_TRUE(sim.kernel().ownedBy(*Scheduler::current()).empty());
    sim.script().clear();
    client.finalize();
}
