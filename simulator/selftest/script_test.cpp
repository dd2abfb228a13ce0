// The script: which calls a rule meets, and that a rule which meets none is noticed.
#include "faults/script.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

using namespace simulator;

namespace {

using Strings = std::vector<std::string>;

// Which of the next calls of this name fail, as "10110".
std::string failing(Script& script, int calls, const char* name = "Secondary.Lock", const char* subject = "Headset") {
    std::string text;
    for (int i = 0; i < calls; ++i)
        text += script.next(name, subject).fails ? '1' : '0';
    return text;
}

} // namespace

TEST(Script, WithoutNumbers_HoldsForEveryCallFromNowOn) {
    Script script;
    EXPECT_EQ(failing(script, 2), "00");
    const Rule& rule = script.on("Secondary.Lock").fails();
    EXPECT_EQ(failing(script, 3), "111");
    EXPECT_EQ(rule.hits(), 3u);
    EXPECT_EQ(failing(script, 2, "Secondary.Unlock"), "00");
}

TEST(Script, OnCallAndFromCall_CountFromTheRuleOn) {
    Script script;
    failing(script, 5);
    const Rule& one = script.on("Secondary.Lock").onCall(2).fails();
    EXPECT_EQ(failing(script, 4), "0100");
    EXPECT_EQ(one.hits(), 1u);
    script.clear();
    script.on("Secondary.Lock").fromCall(3).fails();
    EXPECT_EQ(failing(script, 5), "00111");
}

TEST(Script, Of_CountsTheCallsOfItsSubjectOnly) {
    Script script;
    script.on("Secondary.Lock").of("Headset").onCall(2).fails();
    EXPECT_EQ(failing(script, 3, "Secondary.Lock", "Speaker"), "000");
    EXPECT_EQ(failing(script, 3, "Secondary.Lock", "Headset"), "010");
}

TEST(Script, TwoRulesOnACall_TimesAddUpAndTheLaterAnswers) {
    Script script;
    unsigned actions = 0;
    script.on("Secondary.Lock").takes(3).fails(-1).does([&] { ++actions; });
    script.on("Secondary.Lock").takes(4).fails(-2).failsWithError(8).does([&] { ++actions; });
    const Verdict verdict = script.next("Secondary.Lock", "");
    EXPECT_EQ(verdict.time, 7 * kMillisecond);
    EXPECT_EQ(verdict.result, -2);
    EXPECT_EQ(verdict.error, 8u);
    for (const auto& action : verdict.actions)
        action();
    EXPECT_EQ(actions, 2u);
}

TEST(Script, RuleWithoutACall_IsUnmetUnlessItMayBe) {
    Script script;
    script.on("Secondary.Lock").of("Head set").fails();
    script.on("Secondary.Lock").onCall(5).fails();
    script.on("Secondary.Lock").fromCall(4).maybe().fails();
    script.on("Secondary.Lock").fromCall(3).fails();
    failing(script, 3);
    EXPECT_EQ(script.unmet(), (Strings{"a rule met no call, on(\"Secondary.Lock\").of(\"Head set\"): 0 calls came",
                                       "a rule met no call, on(\"Secondary.Lock\").onCall(5): 3 calls came"}));
}

TEST(Script, Clear_EndsTheRulesAndForgivesNothing) {
    Script script;
    const Rule& met = script.on("Secondary.Lock").fails();
    failing(script, 1);
    script.on("Secondary.Lock").fromCall(9).fails();
    script.clear();
    EXPECT_EQ(failing(script, 3), "000");
    EXPECT_EQ(met.hits(), 1u) << "the reference stays good";
    EXPECT_EQ(script.unmet(), Strings{"a rule met no call, on(\"Secondary.Lock\").fromCall(9): 0 calls came"});
}

TEST(Script, UnknownName_IsRefused) {
    Script script;
    script.allow("Secondary.Lock");
    EXPECT_NO_THROW(script.on("Secondary.Lock"));
    EXPECT_EQ(script.count("Secondary.Lock"), 0u);
    EXPECT_TRUE(script.calls("Secondary.Lock").empty());
    EXPECT_THROW(script.on("Secondary.lock"), std::invalid_argument);
    EXPECT_THROW(std::ignore = script.count("Secondary"), std::invalid_argument);
    EXPECT_THROW(std::ignore = script.calls("lock"), std::invalid_argument);
}
