#include "machine_watch.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using live::MachineWatch;
using namespace std::chrono_literals;

constexpr MachineWatch::Clock::time_point kPause{100s};

TEST(MachineWatch, Pause_DisturbsFromItsBeginningUntilItCannotBeHeardAnyMore) {
    std::istringstream notes("100.0000 100.0500 1\n");
    const MachineWatch watch(notes);
    EXPECT_FALSE(watch.disturbed(kPause - 1ms));
    EXPECT_TRUE(watch.disturbed(kPause));
    EXPECT_TRUE(watch.disturbed(kPause + 50ms + MachineWatch::kAftermath));
    EXPECT_FALSE(watch.disturbed(kPause + 51ms + MachineWatch::kAftermath));
}

TEST(MachineWatch, CalmMachine_DisturbsNothing) {
    std::istringstream notes("");
    EXPECT_FALSE(MachineWatch(notes).disturbed(kPause));
}

TEST(MachineWatch, ThisBench_HasAWitness) {
    EXPECT_NO_THROW(MachineWatch::read());
}

} // namespace
