// The self-test of the loopback's analysis: it passes, and it would notice an analysis that errs.
#include "loopback/self_test.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace soundcheck {
namespace {

TEST(LoopSelfTest, EveryCase_Passes) {
    for (const SelfTestCase& test : selfTestCases())
        EXPECT_EQ(selfTestFailure(test), "") << test.name;
}

TEST(LoopSelfTest, EveryKindOfError_IsAmongTheCases) {
    const std::vector<SelfTestCase> cases = selfTestCases();
    for (const auto kind : {DisturbanceKind::dropped, DisturbanceKind::added, DisturbanceKind::pop})
        EXPECT_TRUE(std::any_of(cases.begin(), cases.end(), [kind](const SelfTestCase& test) {
            return !test.expected.empty() && test.expected.front().kind == kind;
        }));
    EXPECT_TRUE(
        std::any_of(cases.begin(), cases.end(), [](const SelfTestCase& test) { return test.expected.empty(); }));
}

TEST(LoopSelfTest, WhatIsNotExpected_Fails) {
    const auto drop = [](LoopRecording& recording) { dropFrames(recording, 100000, 5); };
    EXPECT_EQ(selfTestFailure({"", {}, drop, {{DisturbanceKind::dropped, 100000, 5}}}), "");
    EXPECT_NE(selfTestFailure({"", {}, drop, {{DisturbanceKind::dropped, 100000, 6}}}), "");
    EXPECT_NE(selfTestFailure({"", {}, drop, {{DisturbanceKind::added, 100000, 5}}}), "");
    EXPECT_NE(selfTestFailure({"", {}, drop, {{DisturbanceKind::dropped, 100030, 5}}}), "");
    EXPECT_NE(selfTestFailure({"", {}, drop, {}}), "");
    EXPECT_NE(selfTestFailure({"", {}, [](LoopRecording&) {}, {{DisturbanceKind::dropped, 100000, 5}}}), "");
    SyntheticLoop silent;
    silent.gain = 0;
    EXPECT_EQ(selfTestFailure({"", silent, [](LoopRecording&) {}, {}}), "the probe was not found");
}

} // namespace
} // namespace soundcheck
