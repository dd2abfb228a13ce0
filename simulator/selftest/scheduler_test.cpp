// Virtual time, the token, the policies.
#include "schedule/scheduler.h"

#include <gtest/gtest.h>

#include <set>

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
