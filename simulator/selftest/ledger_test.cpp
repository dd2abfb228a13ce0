// The book of what was taken: counts, order, and what is given back without having been taken.
#include "faults/ledger.h"

#include <gtest/gtest.h>

using namespace simulator;

TEST(Ledger, TakenThings_AreOpenUntilTheyAreGivenBack) {
    Ledger ledger;
    ledger.take(Kind::event, 1, "E0");
    ledger.take(Kind::event, 2, "E1");
    EXPECT_EQ(ledger.open(Kind::event), 2u);
    EXPECT_EQ(ledger.open(Kind::window), 0u) << "kinds are apart";
    EXPECT_TRUE(ledger.holds(Kind::event, 2));
    EXPECT_TRUE(ledger.give(Kind::event, 2));
    EXPECT_FALSE(ledger.holds(Kind::event, 2));
    EXPECT_EQ(ledger.describeOpen(Kind::event), std::vector<std::string>{"event E0"});
}

TEST(Ledger, ThingThatWasNotTaken_CannotBeGivenBack) {
    Ledger ledger;
    EXPECT_FALSE(ledger.give(Kind::window, 1));
    ledger.take(Kind::window, 1, "of client");
    EXPECT_TRUE(ledger.give(Kind::window, 1));
    EXPECT_FALSE(ledger.give(Kind::window, 1));
}

TEST(Ledger, SameKeyTwice_CountsTwo) {
    Ledger ledger;
    ledger.take(Kind::timerPeriod, 1, "1 ms");
    ledger.take(Kind::timerPeriod, 1, "1 ms");
    EXPECT_EQ(ledger.open(Kind::timerPeriod), 2u);
    EXPECT_EQ(ledger.describeOpen(Kind::timerPeriod), std::vector<std::string>{"timer period 1 ms (2 times)"});
    EXPECT_TRUE(ledger.give(Kind::timerPeriod, 1));
    EXPECT_EQ(ledger.open(Kind::timerPeriod), 1u);
}

TEST(Ledger, OpenThings_AreTold_InTheOrderInWhichTheyWereTaken) {
    Ledger ledger;
    ledger.take(Kind::section, 900, "S1"); // at a high address
    ledger.take(Kind::section, 100, "S2");
    ledger.take(Kind::section, 500, "S3");
    const std::vector<std::string> expected{"critical section S1", "critical section S2", "critical section S3"};
    EXPECT_EQ(ledger.describeOpen(Kind::section), expected);
}

TEST(Ledger, Start_ForgetsWhatIsOpen) {
    Ledger ledger;
    ledger.take(Kind::localMemory, 1, "of LocalAlloc");
    ledger.start();
    EXPECT_EQ(ledger.open(Kind::localMemory), 0u);
}
