// The reference device is closed and reopened over and over under running captures, in random schedules, with the
// guarding heap on: any touch of what has been freed is found at the instruction.
#include "capture_scenario.h"

#include <cstdio>
#include <random>

namespace scenario {

struct Stress {
    unsigned rounds = 0;
    unsigned schedules = 0;
    std::uint64_t blocks = 0;
    std::uint64_t references = 0;
};

class EchoStressRun {
public:
    EchoStressRun(Simulation& sim, Client& client, std::uint32_t seed)
        : m_Sim(sim), m_Client(client), m_Random(seed) {}

    void run(unsigned rounds, Stress& total) {
        for (Device* device : {&m_First, &m_Second}) {
            openAndStart(m_Client, *device);
            EXPECT_EQ(m_Client.associate(*device, m_Speaker).result, 0);
        }
        m_Client.keepBlocks = false;
        m_Client.onCapture = [&](const std::string&, AudioBlock&, AudioBlock* echo) {
            ++total.blocks;
            total.references += echo ? 1 : 0;
        };
        // A capture that hesitates before it takes a lock gives the others time to take its reference's device away.
        const std::vector<CallRecord> starts = m_Sim.calls("CaptureBuffer.Start");
        m_Sim.on("EnterCriticalSection").does([this, starts] {
            const std::string& thread = Scheduler::current()->name;
            if ((thread == starts.at(0).thread || thread == starts.at(1).thread) && chance(4)) {
                m_Sim.spend(5);
            }
        });
        for (unsigned round = 0; round < rounds; ++round) {
            if (round % kRoundsPerSchedule == 0) {
                m_Sim.randomSchedule(m_Random());
                ++total.schedules;
            }
            reopen();
            ++total.rounds;
        }
        m_Client.closeAndFinalize({&m_First, &m_Second});
    }

private:
    static constexpr unsigned kRoundsPerSchedule = 10;

    bool chance(unsigned of) { return m_Random() % of == 0; }

    void reopen() {
        EXPECT_EQ(m_Client.open(m_Speaker).result, 0);
        if (!chance(8)) {
            EXPECT_EQ(m_Client.start(m_Speaker), 0);
        }
        // Often long enough for the queue to be drawn from.
        m_Sim.advance(chance(2) ? 0.5 * (m_Random() % 40) : 130 + m_Random() % 60);
        if (chance(4)) {
            EXPECT_EQ(m_Client.stop(m_Speaker), 0);
        }
        if (chance(6)) {
            EXPECT_EQ(m_Client.associate(chance(2) ? m_First : m_Second, m_Speaker).result, 0);
        }
        if (chance(12)) {
            EXPECT_EQ(m_Client.dissociate(m_First), 0);
        }
        const bool locked = chance(3);
        if (locked) {
            EXPECT_EQ(m_Client.lockDsp(), 0);
        }
        EXPECT_EQ(m_Client.close(m_Speaker), 0);
        if (chance(2)) {
            EXPECT_EQ(m_Client.waitForClosed(), 0);
        }
        if (locked) {
            EXPECT_EQ(m_Client.unlockDsp(), 0);
        }
    }

    Simulation& m_Sim;
    Client& m_Client;
    std::mt19937 m_Random;
    Device& m_Speaker = m_Sim.playback("Speaker");
    Device& m_First = m_Sim.capture("First");
    Device& m_Second = m_Sim.capture("Second").steps(10);
};

static void stress(Simulation& sim, Client& client, std::uint32_t seed) {
    constexpr unsigned kRounds = 600;
    Stress total;
    EchoStressRun run(sim, client, seed);
    EXPECT_EQ(client.initialize(), 0);
    run.run(kRounds, total);
    EXPECT_EQ(total.rounds, kRounds);
    EXPECT_GT(total.references, kRounds / 4);
    EXPECT_EQ(client.logTexts(1), std::vector<std::string>{});
    std::printf("seed %u: reference closed and reopened %u times in %u schedules, %llu blocks, %llu with reference\n",
                seed, total.rounds, total.schedules, static_cast<unsigned long long>(total.blocks),
                static_cast<unsigned long long>(total.references));
}

} // namespace scenario

SCENARIO(EchoStress, ReferenceReopenedUnderCaptures_Seed1,
         "The reference's device is closed and reopened under two captures: no freed memory touched, nobody blocked "
         "(1).") {
    stress(sim, client, 1);
}

SCENARIO(EchoStress, ReferenceReopenedUnderCaptures_Seed2,
         "The reference's device is closed and reopened under two captures: no freed memory touched, nobody blocked "
         "(2).") {
    stress(sim, client, 2);
}

SCENARIO(EchoStress, ReferenceReopenedUnderCaptures_Seed3,
         "The reference's device is closed and reopened under two captures: no freed memory touched, nobody blocked "
         "(3).") {
    stress(sim, client, 3);
}

SCENARIO(EchoStress, ReferenceReopenedUnderCaptures_Seed4,
         "The reference's device is closed and reopened under two captures: no freed memory touched, nobody blocked "
         "(4).") {
    stress(sim, client, 4);
}

SCENARIO(EchoStress, ReferenceReopenedUnderCaptures_Seed5,
         "The reference's device is closed and reopened under two captures: no freed memory touched, nobody blocked "
         "(5).") {
    stress(sim, client, 5);
}

SCENARIO(EchoStress, ReferenceReopenedUnderCaptures_Seed6,
         "The reference's device is closed and reopened under two captures: no freed memory touched, nobody blocked "
         "(6).") {
    stress(sim, client, 6);
}
