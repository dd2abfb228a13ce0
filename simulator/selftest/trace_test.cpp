// The trace keeps the last lines, and its checksum knows all of them.
#include "schedule/trace.h"

#include <gtest/gtest.h>

using namespace simulator;

TEST(Trace, Line_TellsTimeThreadStepAndSubject) {
    Trace trace;
    trace.add(1'234'567'890, "worker", "SetEvent", "E3");
    trace.add(5'000, "client", "ends");
    EXPECT_EQ(trace.text(), "1234.567  worker  SetEvent E3\n0.005  client  ends\n");
    EXPECT_EQ(trace.lines(), 2u);
}

TEST(Trace, OnlyTheLastLinesAreKept_ButAllAreCounted) {
    Trace trace;
    trace.keep(2);
    for (const char* step : {"a", "b", "c"})
        trace.add(0, "t", step);
    EXPECT_EQ(trace.text(), "0.000  t  b\n0.000  t  c\n");
    EXPECT_EQ(trace.lines(), 3u);
    Trace whole;
    whole.keep(0);
    for (int i = 0; i < 1000; ++i)
        whole.add(0, "t", "step");
    EXPECT_EQ(whole.text().size(), 1000 * std::string("0.000  t  step\n").size());
}

TEST(Trace, Checksum_TellsLinesThatAreNotKeptAnyMore) {
    Trace first;
    Trace second;
    first.keep(1);
    second.keep(1);
    first.add(0, "t", "a");
    second.add(0, "t", "b");
    first.add(0, "t", "last");
    second.add(0, "t", "last");
    EXPECT_EQ(first.text(), second.text());
    EXPECT_NE(first.checksum(), second.checksum());
}

TEST(Trace, Start_BeginsAnew) {
    Trace trace;
    const std::uint64_t empty = trace.checksum();
    trace.add(0, "t", "a");
    trace.start();
    EXPECT_EQ(trace.text(), "");
    EXPECT_EQ(trace.lines(), 0u);
    EXPECT_EQ(trace.checksum(), empty);
}
