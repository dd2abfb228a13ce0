// Virtual time, the token, the policies.
#include "schedule/scheduler.h"

#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <stdexcept>

using namespace simulator;

namespace {

struct Outcome {
    std::string order;
    std::uint64_t checksum;
    std::string trace;
    std::vector<std::uint8_t> candidates;
};

// Three threads that pass five switching points each.
Outcome threeThreads(std::unique_ptr<Policy> policy) {
    Scheduler scheduler;
    Outcome run;
    scheduler.trace().keep(0);
    scheduler.run([&] {
        scheduler.start(std::move(policy));
        for (const char* name : {"a", "b", "c"}) {
            scheduler.spawn(name, ThreadKind::client, [&, name] {
                for (int i = 0; i < 5; ++i) {
                    scheduler.point("step");
                    run.order += name;
                }
            });
        }
    });
    run.checksum = scheduler.trace().checksum();
    run.trace = scheduler.trace().text();
    run.candidates = scheduler.candidatesPerChoice();
    return run;
}

} // namespace

TEST(Scheduler, RunUntilBlocked_FinishesOneThreadAfterTheOther) {
    EXPECT_EQ(threeThreads(runUntilBlocked()).order, "aaaaabbbbbccccc");
}

TEST(Scheduler, SameSeed_SameTraceByteForByte) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        const Outcome first = threeThreads(randomSchedule(seed));
        const Outcome second = threeThreads(randomSchedule(seed));
        EXPECT_EQ(first.trace, second.trace) << "seed " << seed;
        EXPECT_EQ(first.checksum, second.checksum) << "seed " << seed;
        EXPECT_EQ(first.order, second.order) << "seed " << seed;
    }
}

TEST(Scheduler, DifferentSeeds_MakeManySchedules) {
    std::set<std::string> orders;
    for (std::uint64_t seed = 1; seed <= 100; ++seed)
        orders.insert(threeThreads(randomSchedule(seed)).order);
    EXPECT_GT(orders.size(), 50u);
}

TEST(Scheduler, ForcedSwitch_HappensWhereItIsForced) {
    const Outcome plain = threeThreads(runUntilBlocked());
    std::set<std::string> orders;
    for (std::size_t choice = 0; choice < plain.candidates.size(); ++choice) {
        for (std::size_t candidate = 1; candidate < plain.candidates[choice]; ++candidate)
            orders.insert(threeThreads(forcedSwitches({{choice, candidate}})).order);
    }
    EXPECT_GT(orders.size(), 10u);
    EXPECT_EQ(orders.count("aaaaabbbbbccccc"), 0u) << "a forced switch changed nothing";
}

TEST(Scheduler, Time_StandsStillWhileSomebodyCanRunAndJumpsOtherwise) {
    Scheduler scheduler;
    std::vector<Nanoseconds> times;
    scheduler.run([&] {
        times.push_back(scheduler.now());
        scheduler.point("work");
        times.push_back(scheduler.now());
        scheduler.spend(3600 * kSecond);
        times.push_back(scheduler.now());
    });
    EXPECT_EQ(times, (std::vector<Nanoseconds>{0, 0, 3600 * kSecond}));
}

TEST(Scheduler, Events_HappenBeforeTheThreadsOfTheSameMoment) {
    Scheduler scheduler;
    std::string order;
    scheduler.at(5 * kMillisecond, [&] { order += "event "; });
    scheduler.run([&] {
        scheduler.spend(5 * kMillisecond);
        order += "thread ";
    });
    EXPECT_EQ(order, "event thread ");
}

TEST(Scheduler, ThreadThatNeverWaits_LosesTimeAndLetsOthersRun) {
    Scheduler scheduler;
    bool stop = false;
    scheduler.run([&] {
        scheduler.spawn("spinner", ThreadKind::client, [&] {
            while (!stop)
                scheduler.point("spin");
        });
        scheduler.spend(10 * kMillisecond);
        stop = true;
    });
    EXPECT_TRUE(stop);
    EXPECT_GE(scheduler.now(), 10 * kMillisecond);
}

TEST(Scheduler, Lateness_DelaysWaitsButNotSpentTime) {
    Scheduler scheduler;
    scheduler.setLateness([](Nanoseconds exact) { return exact + 7 * kMillisecond; });
    Nanoseconds afterWait = 0;
    Nanoseconds afterSpend = 0;
    scheduler.run([&] {
        EXPECT_FALSE(scheduler.wait(scheduler.deadlineIn(3)));
        afterWait = scheduler.now();
        scheduler.spend(3 * kMillisecond);
        afterSpend = scheduler.now();
    });
    EXPECT_EQ(afterWait, 10 * kMillisecond);
    EXPECT_EQ(afterSpend, 13 * kMillisecond);
}

TEST(Scheduler, WaitForNothing_IsADeadlock) {
    Scheduler scheduler;
    EXPECT_EQ(scheduler.run([&] { scheduler.wait(kNever); }), Scheduler::Ended::deadlock);
    EXPECT_NE(scheduler.describeThreads().find("waits for ever"), std::string::npos);
}

TEST(Scheduler, ClientThatWaitsBesideALivingThread_IsAHang) {
    Scheduler scheduler;
    scheduler.setHangLimit(20 * kSecond);
    const auto ended = scheduler.run([&] {
        scheduler.spawn("monitor", ThreadKind::plugin, [&] {
            for (;;)
                scheduler.spend(kSecond);
        });
        scheduler.wait(kNever);
    });
    EXPECT_EQ(ended, Scheduler::Ended::hang);
    EXPECT_LT(scheduler.now(), 30 * kSecond);
}

TEST(Scheduler, PatientThread_MayHangWithoutHoldingUpTheEnd) {
    Scheduler scheduler;
    EXPECT_EQ(scheduler.run([&] {
        scheduler.spawn("patient", ThreadKind::patient, [&] { scheduler.wait(kNever); });
        scheduler.spend(kSecond);
    }),
              Scheduler::Ended::complete);
}

TEST(Scheduler, ExceptionOutOfAThread_EndsTheRun) {
    Scheduler scheduler;
    std::string told;
    scheduler.onFinish(
        [&](ThreadState& thread) { told += thread.name + ": " + thread.exception.value_or("-") + "; "; });
    bool wentOn = false;
    EXPECT_EQ(scheduler.run([&] {
        scheduler.spawn("thrower", ThreadKind::plugin, [] { throw std::runtime_error("the reason"); });
        scheduler.spend(kSecond);
        wentOn = true;
    }),
              Scheduler::Ended::exception);
    EXPECT_FALSE(wentOn);
    EXPECT_EQ(told, "thrower: the reason; ");
    EXPECT_EQ(scheduler.living(ThreadKind::plugin).size(), 0u);
}

TEST(Scheduler, ThreadThatPassesPoints_MayWorkAsLongAsItLikes) {
    Scheduler scheduler;
    scheduler.setRealLimit(200);
    int done = 0;
    scheduler.run([&] {
        for (; done < 20; ++done) {
            Sleep(50); // real
            scheduler.point("work");
        }
    });
    EXPECT_EQ(done, 20);
}

TEST(Scheduler, MutexHeldOverASwitch_EndsTheProcessWithBothCausesAndTheSchedule) {
    const auto stuck = [] {
        Scheduler scheduler;
        scheduler.setRealLimit(200);
        std::mutex mutex;
        scheduler.run([&] {
            scheduler.start(forcedSwitches({{3, 1}}));
            scheduler.spawn("second", ThreadKind::client, [&] {
                const std::scoped_lock lock(mutex);
                scheduler.point("never reached");
            });
            const std::scoped_lock lock(mutex);
            scheduler.spend(kMillisecond);
        });
    };
    EXPECT_DEATH(stuck(),
                 "schedule: forced switches 3:1\nthreads:\n  client: waits with a time-out since 0 ms\n  second: "
                 "runs\nsecond has passed no switching point for 200 real milliseconds. Either it computes "
                 "without end, or it waits for\nsomething real: a mutex");
}

TEST(Scheduler, LoopWithoutAnyPoint_EndsTheProcess) {
    const auto stuck = [] {
        Scheduler scheduler;
        scheduler.setRealLimit(200);
        const volatile bool stop = false;
        scheduler.run([&] {
            while (!stop) {
            }
        });
    };
    EXPECT_DEATH(stuck(), "client has passed no switching point for 200 real milliseconds");
}

TEST(Scheduler, WhoIsNotScheduled_EndsTheProcessAtAPoint) {
    Scheduler scheduler;
    EXPECT_DEATH(scheduler.point("lockDSP"), "a thread that the simulation did not start calls lockDSP");
    EXPECT_DEATH(scheduler.spend(1), "a thread that the simulation did not start calls a wait");
}

TEST(Scheduler, ThreadsAtOnce_AreCountedFromTheStartOn) {
    Scheduler scheduler;
    scheduler.run([&] {
        const auto brief = [&] { scheduler.spend(kMillisecond); };
        for (int i = 0; i < 3; ++i)
            scheduler.spawn("before", ThreadKind::client, brief);
        scheduler.spend(kSecond);
        scheduler.start(runUntilBlocked());
        scheduler.spawn("first", ThreadKind::client, brief);
        scheduler.spend(kSecond);
        scheduler.spawn("second", ThreadKind::client, brief);
    });
    EXPECT_EQ(scheduler.mostAtOnce(), 2u);
}

TEST(Policy, ForcedSwitchesThatDoNotFit_AreTold) {
    const auto policy = forcedSwitches({{0, 1}, {1, 7}, {9, 1}});
    EXPECT_EQ(policy->choose(0, 2, true), 1u);
    EXPECT_EQ(policy->choose(1, 3, true), 2u) << "the last candidate stands in";
    EXPECT_EQ(policy->choose(2, 3, true), 0u);
    const std::vector<std::string> expected{"the forced switch 1:7, where only 3 threads could run",
                                            "the forced switch 9:1, which never came"};
    EXPECT_EQ(policy->unmet(), expected);
    EXPECT_TRUE(runUntilBlocked()->unmet().empty());
}
