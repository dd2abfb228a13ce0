// That a schedule's words replay that schedule, and that no other words replay any.
#include "schedule_text.h"

#include <gtest/gtest.h>

using namespace schedules;

TEST(ScheduleText, Switches_AreReadAsWritten) {
    for (const Switches& switches : {Switches{}, Switches{{3, 1}}, Switches{{3, 1}, {17, 2}}}) {
        const auto policy = policyFrom(textOf(switches));
        ASSERT_TRUE(policy) << textOf(switches);
        for (std::uint64_t choice = 0; choice < 20; ++choice) {
            const auto forced = switches.find(choice);
            EXPECT_EQ(policy->choose(choice, 3, true), forced == switches.end() ? 0 : forced->second);
        }
    }
}

TEST(ScheduleText, Seed_IsThatOfTheOrder) {
    const auto policy = policyFrom("seed 12");
    ASSERT_TRUE(policy);
    EXPECT_EQ(policy->describe(), simulator::randomSchedule(12)->describe());
}

TEST(ScheduleText, AnythingElse_IsNoSchedule) {
    for (const char* text : {"", " ", "non", "none ", "seed", "seed ", "seed x", "seed 1 2", "3", "3:", ":1",
                             "3:1,17:2", "3:1  17:2", "3:1 ", "3:1 3:2", "-1:1", "x:1"})
        EXPECT_FALSE(policyFrom(text)) << text;
}
