// A scenario whose promise holds in whatever order the threads run.
//
//     ENUMERATED_SCHEDULES(Closing, RunningDevice_IsGoneAfterTheWait, "what is promised") {
//         Device& speaker = sim.playback("Speaker");
//         client.initialize();
//         client.open(speaker);
//         fromHereOn();
//         client.close(speaker);
//         atOnce([&] { client.waitForClosed(); });
//         upToHere();
//         client.finalize();
//     }
//
// It is played again and again, each time in a simulation of its own, with the switches of the Enumeration; as
// RANDOM_SCHEDULES, by seeds. At every step the Invariants are checked. The first schedule that fails ends it and
// prints how to replay it with its whole trace: SCHEDULE="3:1 17:2" or SCHEDULE="seed 12" in the environment.
//
// SCHEDULES="2/8" widens the search: the second of eight shares of all pairs of switches, or other seeds. In shares,
// because the runtime inside the DLL keeps a little of the process each time it is loaded; a thousand times is the end.
#pragma once

#include "enumeration.h"
#include "invariants.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace schedules {

using namespace simulator; // the vocabulary of the scenarios

class ScheduledScenario {
public:
    ScheduledScenario() { sim.threadsAtOnce(kThreadsAtOnce); }
    virtual ~ScheduledScenario() = default;
    ScheduledScenario(const ScheduledScenario&) = delete;
    ScheduledScenario& operator=(const ScheduledScenario&) = delete;

    // Plays it once and answers what the schedule came across. What went wrong is a failure of the running test.
    Candidates playUnder(std::unique_ptr<Policy> policy, bool wholeTrace);

protected:
    virtual void play() = 0;

    // After initialize: what came before was preparation and ran undisturbed.
    void fromHereOn();
    // What comes after runs under the same schedule, but nothing more is enumerated.
    void upToHere() { m_ChoicesThatCount = sim.scheduler().choices(); }
    // Calls that wait for nothing but events: a wake-up that got lost would cost virtual time.
    void atOnce(const std::function<void()>& calls);
    // To the very moment at which a thread of the plug-in wakes, so that both can run; a block later at the most.
    void untilNextWake();
    void openAndStart(const Device& device, std::uint32_t contextId = 7);
    // A running device: its buffer is stopped in the very moment of the call. A millisecond passes.
    void stopAtOnce(const Device& device, std::uint32_t contextId = 7);

    Simulation sim;
    Client client{sim};

private:
    static constexpr unsigned kThreadsAtOnce = 5; // enough for every scenario; to prepare one takes its time

    Invariants m_Invariants{sim, client};
    std::unique_ptr<Policy> m_Policy;
    std::uint64_t m_ChoicesThatCount = UINT64_MAX;
    bool m_Played = false;
};

inline constexpr std::uint64_t kFramesPerBlock = 960; // at 48 kHz

using MakeScenario = std::unique_ptr<ScheduledScenario> (*)();

// Both are for the macros below.
void playEnumerated(const char* promise, MakeScenario make);
void playRandomly(const char* promise, MakeScenario make);

} // namespace schedules

#define SCHEDULED_SCENARIO(area, name, promise, explore)                                                             \
    namespace schedules {                                                                                            \
    class area##_##name : public ScheduledScenario {                                                                 \
        void play() override;                                                                                        \
    };                                                                                                               \
    }                                                                                                                \
    TEST(area, name) { /* NOLINT(modernize-use-trailing-return-type) */                                              \
        schedules::explore(promise, []() -> std::unique_ptr<schedules::ScheduledScenario> {                          \
            return std::make_unique<schedules::area##_##name>();                                                     \
        });                                                                                                          \
    }                                                                                                                \
    void schedules::area##_##name::play()

#define ENUMERATED_SCHEDULES(area, name, promise) SCHEDULED_SCENARIO(area, name, promise, playEnumerated)
#define RANDOM_SCHEDULES(area, name, promise) SCHEDULED_SCENARIO(area, name, promise, playRandomly)
