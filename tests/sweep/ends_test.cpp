// Which failing calls must leave the client waiting for ever, by who makes them and what for.
#include "required.h"

#include <gtest/gtest.h>

using namespace sweep;

namespace {

// A device's life: opened, started, stopped or not, closed and waited for.
class Life {
public:
    explicit Life(bool stopped) {
        by("thread1").calls("CoInitializeEx").calls("QueryPerformanceCounter");
        by("client").calls("SetEvent", "Ecommand").calls("LeaveCriticalSection");
        by("thread2").calls("CoInitializeEx").waits("Ecommand").calls("SetEvent", "Ereply");
        by("client").waits("Ereply");
        by("client").calls("SetEvent", "Ecommand").calls("LeaveCriticalSection");
        by("thread2").waits("Ecommand").calls("SetEvent", "Ereply");
        by("client").waits("Ereply");
        by("thread2").calls("SetEvent", "Eidle");
        by("thread1").waits("Ewake", "1000").calls("SetEvent", "Edone").calls("QueryPerformanceFrequency");
        by("thread1").calls("QueryPerformanceCounter");
        if (stopped) {
            by("client").calls("SetEvent", "Ecommand").calls("LeaveCriticalSection").calls("EnterCriticalSection");
            by("thread2").calls("SetEvent", "Ereply").calls("_endthreadex");
        }
        by("client").calls("SetEvent", "Ewake").calls("LeaveCriticalSection").calls("ResetEvent", "Edone");
        by("thread1").waits("Ewake", "1000").calls("SetEvent", "Ecommand").calls("LeaveCriticalSection");
        if (!stopped)
            by("thread2").calls("_endthreadex");
        by("thread1").waits("T").calls("SetEvent", "Edone").calls("QueryPerformanceFrequency");
        by("client").waits("Edone");
        by("client").calls("SetEvent", "Ewake").calls("LeaveCriticalSection").waits("T1");
    }

    // Of the n-th such call.
    [[nodiscard]] bool endsStuck(const std::string& call, const std::string& subject, unsigned n,
                                 bool lasting = false) const {
        const Fault fault{"s", call, subject, n, lasting, {}};
        EXPECT_NE(m_Calls.hitBy(fault), nullptr) << words(fault);
        return whyEndsStuck(fault, m_Calls) != nullptr;
    }

private:
    Life& by(const char* thread) { return m_Thread = thread, *this; }
    Life& calls(const char* name, const char* subject = "", const char* arguments = "") {
        m_Calls.records.push_back({0, m_Thread, name, subject, arguments, 1});
        return *this;
    }
    Life& waits(const char* subject, const char* arguments = "INFINITE") {
        return calls("WaitForSingleObject", subject, arguments);
    }

    Calls m_Calls;
    const char* m_Thread = "";
};

} // namespace

TEST(SweepEnds, CommandThatIsNotSet_IsWaitedForButForAStop) {
    const Life stopped(true);
    EXPECT_TRUE(stopped.endsStuck("SetEvent", "Ecommand", 1));
    EXPECT_TRUE(stopped.endsStuck("SetEvent", "Ecommand", 2));
    EXPECT_FALSE(stopped.endsStuck("SetEvent", "Ecommand", 3)) << "the close ends it";
    EXPECT_TRUE(stopped.endsStuck("SetEvent", "Ecommand", 3, true)) << "nor does the close";
    EXPECT_FALSE(stopped.endsStuck("SetEvent", "Ecommand", 4)) << "it has ended";
    EXPECT_TRUE(Life(false).endsStuck("SetEvent", "Ecommand", 3)) << "the end of a device that runs";
}

TEST(SweepEnds, ReplyThatIsNotSet_IsWaitedForWhereSomebodyWaits) {
    const Life stopped(true);
    EXPECT_TRUE(stopped.endsStuck("SetEvent", "Ereply", 1));
    EXPECT_TRUE(stopped.endsStuck("SetEvent", "Ereply", 2));
    EXPECT_FALSE(stopped.endsStuck("SetEvent", "Ereply", 3)) << "of the stop";
}

TEST(SweepEnds, OtherEventsThatAreNotSet_HoldNobodyUpForEver) {
    const Life life(false);
    EXPECT_FALSE(life.endsStuck("SetEvent", "Eidle", 1));
    EXPECT_FALSE(life.endsStuck("SetEvent", "Eidle", 1, true));
    EXPECT_FALSE(life.endsStuck("SetEvent", "Ewake", 1, true));
    EXPECT_FALSE(life.endsStuck("SetEvent", "Edone", 2)) << "set again in a second";
    EXPECT_TRUE(life.endsStuck("SetEvent", "Edone", 2, true));
}

TEST(SweepEnds, MonitorThatEnds_LeavesTheClosingUndone) {
    const Life life(false);
    EXPECT_TRUE(life.endsStuck("CoInitializeEx", "", 1));
    EXPECT_TRUE(life.endsStuck("QueryPerformanceCounter", "", 1));
    EXPECT_FALSE(life.endsStuck("QueryPerformanceCounter", "", 2)) << "only the rescan is put off";
    EXPECT_TRUE(life.endsStuck("QueryPerformanceFrequency", "", 1));
    EXPECT_FALSE(life.endsStuck("QueryPerformanceFrequency", "", 2)) << "all is closed";
}

TEST(SweepEnds, WorkerWithoutCom_NeverAnswers) {
    EXPECT_TRUE(Life(false).endsStuck("CoInitializeEx", "", 2));
}

TEST(SweepEnds, AnyOtherFailure_HoldsNobodyUp) {
    EXPECT_FALSE(Life(false).endsStuck("ResetEvent", "Edone", 1, true));
    EXPECT_FALSE(Life(false).endsStuck("WaitForSingleObject", "Ecommand", 1, true));
}
