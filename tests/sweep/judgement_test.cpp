// That the judge objects: to trouble that is not told, or told otherwise, to hangs, leaks and faults that never came.
#include "codes.h"
#include "judgement.h"

#include <gtest/gtest.h>

using namespace sweep;

namespace {

const std::string kText = "unknown error: No sound driver is available for use (0x88780078)";
const std::string kRequired = "log 1: " + kText;
const std::string kLine = "log 1 [Speaker]: " + kText;

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
    EXPECT_EQ(judge(lockFault(), cleanRun(), run), Problems{"not told: \"" + kRequired + "\""});
}

TEST(SweepJudgement, LineOfSomethingElse_IsBad) {
    Outcome run = goodRun();
    run.told.emplace_back("log 2: what?");
    EXPECT_EQ(judge(lockFault(), cleanRun(), run), Problems{"told for no reason: \"log 2: what?\""});
    run.told.back() = kLine; // twice, though the call failed once
    EXPECT_EQ(judge(lockFault(), cleanRun(), run), Problems{"told for no reason: \"" + kLine + "\""});
}

TEST(SweepJudgement, FailureThatIsToldOfAnotherDevice_IsBad) {
    Outcome run = goodRun();
    for (const char* category : {"Microphone", ""}) {
        run.told = {logged(1, category, kText)};
        EXPECT_EQ(judge(lockFault(), cleanRun(), run),
                  (Problems{"not told: \"" + kRequired + "\"", "told for no reason: \"" + run.told[0] + "\""}));
    }
}

TEST(SweepJudgement, FailureOfTheClientsPairing_IsToldOfACaptureDevice) {
    Outcome clean = cleanRun();
    clean.calls.records.push_back(call("CaptureBuffer.Start", "Microphone", "thread3"));
    clean.calls.records.push_back(call("DirectSound.GetSpeakerConfig", "Speaker", "client"));
    const Fault fault{"echo", "DirectSound.GetSpeakerConfig", "Speaker", 1, false, {kNoDriver, {}}};
    Outcome run = goodRun();
    run.told = {logged(1, "Microphone", kText)};
    EXPECT_EQ(judge(fault, clean, run), Problems{});
    run.told = {kLine};
    EXPECT_EQ(judge(fault, clean, run).size(), 2u);
}

TEST(SweepJudgement, FailureOfACallThatFailsAnyway_IsToldWithItsOwnAnswer) {
    Outcome clean = cleanRun();
    clean.calls.records[2].result = E_FAIL;
    clean.told = {"log 1 [Speaker]: unknown error: Unknown error 0x80004005"};
    EXPECT_EQ(judge(lockFault(), clean, goodRun()), Problems{});
    Outcome run = goodRun();
    run.told = clean.told;
    EXPECT_EQ(judge(lockFault(), clean, run), Problems{"not told: \"" + kRequired + "\""});
}

TEST(SweepJudgement, LinesOfTheCleanRun_MayComeAsOftenOrNot) {
    Outcome clean = cleanRun();
    clean.told = {"log 2 [Speaker]: emulated"};
    Outcome run = goodRun();
    EXPECT_EQ(judge(lockFault(), clean, run), Problems{});
    run.told.emplace_back("log 2 [Speaker]: emulated");
    EXPECT_EQ(judge(lockFault(), clean, run), Problems{});
    run.told.emplace_back("log 2 [Speaker]: emulated");
    EXPECT_EQ(judge(lockFault(), clean, run), Problems{"told for no reason: \"log 2 [Speaker]: emulated\""});
}

TEST(SweepJudgement, OtherWords_AreOneLineEachOfTheSameDevice) {
    Outcome clean = cleanRun();
    clean.calls.records.push_back(call("FormatMessageW", ""));
    clean.told = {"log 1 [Speaker]: in these words"};
    for (const bool lasting : {false, true}) {
        const Fault fault{"playback", "FormatMessageW", "", 1, lasting, {{}, ERROR_INVALID_HANDLE}};
        Outcome run = goodRun();
        run.told = {"log 1 [Speaker]: in other words"};
        EXPECT_EQ(judge(fault, clean, run), Problems{});
        run.told.emplace_back("log 1 [Speaker]: and once more");
        EXPECT_EQ(judge(fault, clean, run), Problems{"told for no reason: \"log 1 [Speaker]: and once more\""});
        run.told = {"log 1 [Headset]: in other words"};
        EXPECT_EQ(judge(fault, clean, run), Problems{"told for no reason: \"log 1 [Headset]: in other words\""});
    }
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
    Outcome hung = goodRun();
    hung.complete = false;
    hung.report.ended = simulator::Scheduler::Ended::hang;
    hung.report.problems = {"hang: a client thread waits without end"};
    EXPECT_EQ(judge(lockFault(), cleanRun(), hung), Problems{"the client waits for ever"});
    Outcome clean = cleanRun();
    clean.calls.records = {call("CoInitializeEx", "")};
    const Fault fault{"playback", "CoInitializeEx", "", 1, false, {kNoDriver, {}}};
    hung.told = {"standard error: No sound driver is available for use"};
    EXPECT_EQ(judge(fault, clean, hung), Problems{});
    Outcome complete = goodRun();
    complete.told = hung.told;
    EXPECT_EQ(judge(fault, clean, complete),
              Problems{"the client does not wait for ever, though a worker without COM answers no command"});
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
