// That the judge objects: to trouble that is not told, or told otherwise, to hangs, leaks and faults that never came.
#include "codes.h"
#include "judgement.h"

#include <gtest/gtest.h>

using namespace sweep;

namespace {

const std::string kLine = "log 1: unknown error: No sound driver is available for use (0x88780078)";

simulator::CallRecord call(std::string name, std::string subject, std::string thread = "thread2",
                           long long result = 0) {
    return {0, std::move(thread), std::move(name), std::move(subject), "", result};
}

Outcome cleanRun() {
    Outcome clean;
    clean.complete = true;
    clean.calls.records = {call("Secondary.Unlock", "Speaker"), call("Secondary.Play", "Speaker"),
                           call("Secondary.Lock", "Speaker"), call("Secondary.Unlock", "Speaker")};
    return clean;
}

Fault lockFault() {
    return {"playback", "Secondary.Lock", "Speaker", 1, false, {kNoDriver, {}}};
}

// As a good run with that fault ends.
Outcome goodRun() {
    Outcome run;
    run.complete = true;
    run.hits = 1;
    run.told = {kLine};
    return run;
}

using Problems = std::vector<std::string>;

} // namespace

TEST(SweepJudgement, FailureThatIsToldOnce_IsGood) {
    EXPECT_EQ(judge(lockFault(), cleanRun(), goodRun()), Problems{});
}

TEST(SweepJudgement, FailureThatIsNotTold_IsBad) {
    Outcome run = goodRun();
    run.told.clear();
    EXPECT_EQ(judge(lockFault(), cleanRun(), run), Problems{"not told: \"" + kLine + "\""});
}

TEST(SweepJudgement, LineOfSomethingElse_IsBad) {
    Outcome run = goodRun();
    run.told.emplace_back("log 2: what?");
    EXPECT_EQ(judge(lockFault(), cleanRun(), run), Problems{"told for no reason: \"log 2: what?\""});
    run.told.back() = kLine; // twice, though the call failed once
    EXPECT_EQ(judge(lockFault(), cleanRun(), run), Problems{"told for no reason: \"" + kLine + "\""});
}

TEST(SweepJudgement, LinesOfTheCleanRun_MayComeOrNot) {
    Outcome clean = cleanRun();
    clean.told = {"log 2: emulated"};
    Outcome run = goodRun();
    EXPECT_EQ(judge(lockFault(), clean, run), Problems{});
    run.told.emplace_back("log 2: emulated");
    EXPECT_EQ(judge(lockFault(), clean, run), Problems{});
}

TEST(SweepJudgement, LastingFailure_MayBeToldAgain) {
    Fault fault = lockFault();
    fault.lasting = true;
    Outcome run = goodRun();
    run.told = {kLine, kLine};
    EXPECT_EQ(judge(fault, cleanRun(), run), Problems{});
}

TEST(SweepJudgement, UnlockOfStart_IsToldAndThatOfABlockIsNot) {
    Fault fault = lockFault();
    fault.call = "Secondary.Unlock";
    EXPECT_EQ(judge(fault, cleanRun(), goodRun()), Problems{});
    fault.n = 2;
    EXPECT_EQ(judge(fault, cleanRun(), goodRun()), Problems{"told for no reason: \"" + kLine + "\""});
}

TEST(SweepJudgement, Hang_IsBadUnlessItMustBe) {
    Outcome run = goodRun();
    run.complete = false;
    run.report.ended = simulator::Scheduler::Ended::hang;
    run.report.problems = {"hang: a client thread waits without end"};
    EXPECT_EQ(judge(lockFault(), cleanRun(), run), Problems{"the client waits for ever"});
    Outcome clean = cleanRun();
    clean.calls.records = {call("CoInitializeEx", "")};
    run.told = {"standard error: No sound driver is available for use"};
    EXPECT_EQ(judge({"playback", "CoInitializeEx", "", 1, false, {kNoDriver, {}}}, clean, run), Problems{});
}

TEST(SweepJudgement, FindingOfTheSimulator_IsBadUnlessItMustBe) {
    Outcome run = goodRun();
    run.report.problems = {"1 left of kind event instead of 0"};
    EXPECT_EQ(judge(lockFault(), cleanRun(), run), run.report.problems);
    const Fault timer{"playback", "timeBeginPeriod", "", 1, false, {97, {}}};
    run.told.clear();
    EXPECT_EQ(judge(timer, cleanRun(), run), run.report.problems);
    run.report.problems = {"timeEndPeriod of 1 ms, which nobody began"};
    EXPECT_EQ(judge(timer, cleanRun(), run), Problems{});
}

TEST(SweepJudgement, FaultThatNeverCame_IsBad) {
    Outcome run = goodRun();
    run.hits = 0;
    EXPECT_EQ(judge(lockFault(), cleanRun(), run), Problems{"the call never came"});
}

TEST(SweepJudgement, CleanRun_MustBeComplete) {
    Outcome clean = cleanRun();
    EXPECT_EQ(judgeClean(clean), Problems{});
    clean.broken = {"every frame is heard"};
    EXPECT_EQ(judgeClean(clean), Problems{"not so: every frame is heard"});
    clean = cleanRun();
    clean.calls.records.push_back(call("BrandNew", ""));
    EXPECT_EQ(judgeClean(clean), Problems{"BrandNew is called, but nobody has said with what it fails"});
    clean = cleanRun();
    clean.calls.counts["Secondary.Lock"] = 2;
    EXPECT_EQ(judgeClean(clean), Problems{"the session is too long: not every call of Secondary.Lock was recorded"});
}
