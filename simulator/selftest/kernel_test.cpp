// Simulated events, sections, threads and waits behave as the system's do.
#include "schedule/kernel.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace simulator;

namespace {

struct Bench {
    Scheduler scheduler;
    Ledger ledger;
    Findings findings;
    Kernel kernel{scheduler, ledger, findings};
    CRITICAL_SECTION section{};

    DWORD wait(HANDLE handle, DWORD milliseconds) { return kernel.waitForAny({&handle, 1}, milliseconds); }
};

} // namespace

TEST(Kernel, ManualResetEvent_ReleasesAWaiterEvenWhenItIsResetAtOnce) {
    Bench b;
    DWORD result = WAIT_FAILED;
    b.scheduler.run([&] {
        const HANDLE event = b.kernel.createEvent(true, false);
        b.scheduler.spawn("waiter", ThreadKind::client, [&, event] { result = b.wait(event, INFINITE); });
        b.scheduler.spend(kMillisecond);
        b.kernel.signal(event);
        b.kernel.reset(event);
        EXPECT_EQ(b.wait(event, 0), WAIT_TIMEOUT);
        b.kernel.close(event);
    });
    EXPECT_EQ(result, WAIT_OBJECT_0);
    EXPECT_TRUE(b.findings.all().empty());
    EXPECT_EQ(b.ledger.open(Kind::event), 0u);
}

TEST(Kernel, AutoResetEvent_ReleasesOneWaiterPerSignal) {
    Bench b;
    int released = 0;
    int seen = -1;
    b.scheduler.run([&] {
        const HANDLE event = b.kernel.createEvent(false, false);
        for (int i = 0; i < 2; ++i) {
            b.scheduler.spawn("waiter", ThreadKind::client, [&, event] {
                if (b.wait(event, 100) == WAIT_OBJECT_0)
                    ++released;
            });
        }
        b.scheduler.spend(kMillisecond);
        b.kernel.signal(event);
        b.scheduler.spend(kMillisecond);
        seen = released;
    });
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(released, 1);
}

TEST(Kernel, WaitForAny_NamesTheFirstSignalledHandle) {
    Bench b;
    b.scheduler.run([&] {
        const HANDLE handles[] = {b.kernel.createEvent(true, false), b.kernel.createEvent(true, true)};
        EXPECT_EQ(b.kernel.waitForAny(handles, INFINITE), WAIT_OBJECT_0 + 1);
        b.kernel.signal(handles[0]);
        EXPECT_EQ(b.kernel.waitForAny(handles, INFINITE), WAIT_OBJECT_0);
    });
}

TEST(Kernel, TimedWait_EndsAtItsTime) {
    Bench b;
    b.scheduler.run([&] {
        EXPECT_EQ(b.wait(b.kernel.createEvent(true, false), 21), WAIT_TIMEOUT);
        EXPECT_EQ(b.scheduler.now(), 21 * kMillisecond);
    });
}

TEST(Kernel, ThreadHandle_IsSignalledByTheEndOfTheThread) {
    Bench b;
    b.scheduler.run([&] {
        const HANDLE thread = b.kernel.createThread("worker", [&] { b.scheduler.spend(5 * kMillisecond); });
        EXPECT_EQ(b.wait(thread, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(b.scheduler.now(), 5 * kMillisecond);
        EXPECT_TRUE(b.kernel.close(thread));
    });
    EXPECT_EQ(b.ledger.open(Kind::threadHandle), 0u);
}

TEST(Kernel, Section_ExcludesOthersAndLetsItsOwnerInAgain) {
    Bench b;
    std::string order;
    b.scheduler.run([&] {
        b.kernel.initialize(&b.section);
        b.kernel.enter(&b.section);
        EXPECT_TRUE(b.kernel.tryEnter(&b.section)) << "the owner enters again";
        b.scheduler.spawn("other", ThreadKind::client, [&] {
            EXPECT_FALSE(b.kernel.tryEnter(&b.section));
            b.kernel.enter(&b.section);
            order += "other ";
            b.kernel.leave(&b.section);
        });
        b.scheduler.spend(kMillisecond);
        b.kernel.leave(&b.section);
        b.scheduler.spend(kMillisecond);
        order += "owner ";
        b.kernel.leave(&b.section);
        b.scheduler.spend(kMillisecond);
        b.kernel.remove(&b.section);
    });
    EXPECT_EQ(order, "owner other ");
    EXPECT_TRUE(b.findings.all().empty());
}

TEST(Kernel, CrosswiseSections_AreADeadlock) {
    Bench b;
    CRITICAL_SECTION other{};
    const auto ended = b.scheduler.run([&] {
        b.kernel.initialize(&b.section);
        b.kernel.initialize(&other);
        b.scheduler.spawn("second", ThreadKind::client, [&] {
            b.kernel.enter(&other);
            b.scheduler.spend(kMillisecond);
            b.kernel.enter(&b.section);
        });
        b.kernel.enter(&b.section);
        b.scheduler.spend(kMillisecond);
        b.kernel.enter(&other);
    });
    EXPECT_EQ(ended, Scheduler::Ended::deadlock);
}

TEST(Kernel, Misuse_IsFound) {
    Bench b;
    b.scheduler.run([&] {
        const HANDLE event = b.kernel.createEvent(true, false);
        b.kernel.close(event);
        b.kernel.signal(event); // closed
        b.kernel.initialize(&b.section);
        b.kernel.leave(&b.section); // not owned
        b.kernel.enter(&b.section);
        b.kernel.remove(&b.section);                       // owned
        EXPECT_TRUE(b.kernel.owns(&b.section));            // deleted
        EXPECT_EQ(b.wait(nullptr, INFINITE), WAIT_FAILED); // no finding: a missing event is a way to fail
    });
    EXPECT_EQ(b.findings.all().size(), 4u);
}

TEST(Kernel, CloseUnderAWaiter_IsFound) {
    Bench b;
    b.scheduler.run([&] {
        const HANDLE event = b.kernel.createEvent(true, false);
        b.scheduler.spawn("waiter", ThreadKind::client, [&, event] { EXPECT_EQ(b.wait(event, 5), WAIT_TIMEOUT); });
        b.scheduler.spend(kMillisecond);
        EXPECT_TRUE(b.kernel.close(event));
    });
    EXPECT_EQ(b.findings.all(), std::vector<std::string>{"CloseHandle of E0 while waiter waits on it"});
}

TEST(Kernel, HandleThatWasNeverMade_IsFound) {
    Bench b;
    b.scheduler.run([&] {
        const HANDLE event = b.kernel.createEvent(true, false);
        const auto forged = reinterpret_cast<HANDLE>(reinterpret_cast<std::uintptr_t>(event) + 16);
        EXPECT_TRUE(Kernel::isSimulated(forged));
        EXPECT_FALSE(b.kernel.signal(forged));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
        EXPECT_TRUE(b.kernel.close(event));
        EXPECT_FALSE(Kernel::isSimulated(GetCurrentThread()));
        EXPECT_FALSE(Kernel::isSimulated(nullptr));
    });
    EXPECT_EQ(b.findings.all(), std::vector<std::string>{"SetEvent of a handle that was never made"});
}

TEST(Kernel, OrderOfLocks_IsNoted_AndForgottenWhenNumbersBeginAnew) {
    Bench b;
    CRITICAL_SECTION other{};
    b.scheduler.run([&] {
        b.kernel.initialize(&b.section);
        b.kernel.initialize(&other);
        b.kernel.enter(&other);
        b.kernel.enter(&b.section);
        EXPECT_EQ(b.kernel.lockOrder(), (std::set<std::pair<int, int>>{{2, 1}}));
        b.kernel.startNumbering();
        EXPECT_TRUE(b.kernel.lockOrder().empty());
        EXPECT_TRUE(b.kernel.knows(&other));
        b.kernel.leave(&other);
        b.kernel.remove(&other);
        EXPECT_FALSE(b.kernel.knows(&other));
        b.kernel.leave(&b.section);
    });
    EXPECT_TRUE(b.findings.all().empty());
}

TEST(Kernel, ThreadThatEndsByAnException_IsFoundWithWhatItOwned) {
    Bench b;
    b.scheduler.run([&] {
        b.kernel.initialize(&b.section);
        b.kernel.enter(&b.section);
        throw std::runtime_error("the reason");
    });
    const std::vector<std::string> expected{"thread client ended while it owned S1",
                                            "an exception left thread client: the reason"};
    EXPECT_EQ(b.findings.all(), expected);
}
