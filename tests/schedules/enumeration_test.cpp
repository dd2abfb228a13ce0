// The enumeration itself, on invented runs.
#include "enumeration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using namespace schedules;

namespace {

std::set<Switches> playedSchedules(const Enumeration::Pairs& pairs, const Enumeration::Play& play) {
    std::set<Switches> played;
    Enumeration enumeration([&](const Switches& switches) {
        EXPECT_TRUE(played.insert(switches).second) << "played twice";
        return play(switches);
    });
    enumeration.run(pairs);
    EXPECT_EQ(enumeration.tried(), played.size());
    return played;
}

// Three choices between 2, 3 and 2 threads, whatever is forced.
std::optional<Candidates> threeChoices(const Switches&) {
    return Candidates{2, 3, 2};
}

} // namespace

TEST(ScheduleEnumeration, AllPairs_EveryScheduleIsPlayedOnce) {
    const std::set<Switches> played = playedSchedules({}, threeChoices);
    const std::set<Switches> expected = {{},
                                         {{0, 1}},
                                         {{1, 1}},
                                         {{1, 2}},
                                         {{2, 1}},
                                         {{0, 1}, {1, 1}},
                                         {{0, 1}, {1, 2}},
                                         {{0, 1}, {2, 1}},
                                         {{1, 1}, {2, 1}},
                                         {{1, 2}, {2, 1}}};
    EXPECT_EQ(played, expected);
}

TEST(ScheduleEnumeration, LimitedPairs_AreSpreadAndAlwaysTheSame) {
    constexpr std::size_t kNoneAndSingles = 5;
    const std::set<Switches> played = playedSchedules({.limit = 2}, threeChoices);
    EXPECT_EQ(played.size(), kNoneAndSingles + 2);
    EXPECT_TRUE(played.contains({{0, 1}, {2, 1}})) << "the third of five";
    EXPECT_TRUE(played.contains({{1, 2}, {2, 1}})) << "the last of five";
    EXPECT_EQ(played, playedSchedules({.limit = 2}, threeChoices));
    EXPECT_EQ(playedSchedules({.limit = 0}, threeChoices).size(), kNoneAndSingles);
}

TEST(ScheduleEnumeration, Shares_TogetherAreEverything) {
    std::set<Switches> together;
    for (const std::uint64_t number : {1u, 2u, 3u})
        together.merge(playedSchedules({.number = number, .of = 3}, threeChoices));
    EXPECT_EQ(together, playedSchedules({}, threeChoices));
    EXPECT_LT(playedSchedules({.number = 2, .of = 3}, threeChoices).size(), together.size());
}

TEST(ScheduleEnumeration, ChoiceThatOnlyAppearsAfterASwitch_IsForced) {
    const std::set<Switches> played = playedSchedules({}, [](const Switches& switches) -> std::optional<Candidates> {
        return switches.contains(0) ? Candidates{2, 2, 4} : Candidates{2};
    });
    EXPECT_TRUE(played.contains({{0, 1}, {2, 3}}));
    EXPECT_EQ(played.size(), 2 + 1 + 3u);
}

TEST(ScheduleEnumeration, ScheduleThatFails_EndsIt) {
    const std::set<Switches> played = playedSchedules({}, [](const Switches& switches) -> std::optional<Candidates> {
        if (switches == Switches{{0, 1}, {1, 1}})
            return std::nullopt;
        return Candidates{2, 3, 2};
    });
    EXPECT_EQ(played.size(), 6u);
    EXPECT_TRUE(played.contains({{0, 1}, {1, 1}}));
}
