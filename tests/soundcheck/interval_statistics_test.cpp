#include "streams/interval_statistics.h"

#include <gtest/gtest.h>

#include <numeric>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;
using Clock = IntervalStatistics::Clock;

constexpr Clock::time_point kStart{1h};

/** Settled: one block at the start, one when the first second has just passed. */
class SettledIntervals : public testing::Test {
protected:
    SettledIntervals() {
        m_statistics.add(kStart);
        m_statistics.add(m_now);
    }
    void add(Clock::duration interval) { m_statistics.add(m_now += interval); }

    Clock::time_point m_now = kStart + 1s;
    IntervalStatistics m_statistics;
};

TEST(IntervalStart, NothingYet_AllIsZero) {
    IntervalStatistics statistics;
    statistics.add(kStart);
    EXPECT_EQ(statistics.intervals(), 0U);
    EXPECT_EQ(statistics.averageMilliseconds(), 0.0);
    EXPECT_EQ(statistics.deviationMilliseconds(), 0.0);
}

TEST(IntervalStart, FirstSecond_DoesNotCount) {
    IntervalStatistics statistics;
    statistics.add(kStart);
    statistics.add(kStart + 900ms);
    statistics.add(kStart + 999999us);
    statistics.add(kStart + 1500ms); // began a microsecond too early
    EXPECT_EQ(statistics.intervals(), 0U);
    EXPECT_EQ(statistics.late(), 0U);
}

TEST_F(SettledIntervals, FirstSecondHasJustPassed_TheNextIntervalCounts) {
    EXPECT_EQ(m_statistics.intervals(), 0U);
    add(20ms);
    EXPECT_EQ(m_statistics.intervals(), 1U);
}

TEST_F(SettledIntervals, MinAverageMaxAndDeviation_AreThoseOfTheIntervals) {
    for (const auto interval : {16ms, 24ms, 16ms, 24ms})
        add(interval);
    EXPECT_DOUBLE_EQ(m_statistics.minMilliseconds(), 16.0);
    EXPECT_DOUBLE_EQ(m_statistics.maxMilliseconds(), 24.0);
    EXPECT_DOUBLE_EQ(m_statistics.averageMilliseconds(), 20.0);
    EXPECT_DOUBLE_EQ(m_statistics.deviationMilliseconds(), 4.0);
}

TEST_F(SettledIntervals, EvenIntervals_HaveNoDeviationNoBurstAndAreNotLate) {
    for (int i = 0; i < 1000; ++i)
        add(20ms);
    EXPECT_NEAR(m_statistics.deviationMilliseconds(), 0.0, 1e-9);
    EXPECT_EQ(m_statistics.late(), 0U);
    EXPECT_EQ(m_statistics.bursts(), 0U);
    EXPECT_EQ(m_statistics.longestBurst(), 0U);
}

TEST_F(SettledIntervals, Late_IsMoreThanFortyMilliseconds) {
    add(40ms);
    EXPECT_EQ(m_statistics.late(), 0U);
    add(40001us);
    EXPECT_EQ(m_statistics.late(), 1U);
    ASSERT_EQ(m_statistics.lateCallbacks().size(), 1U);
    EXPECT_DOUBLE_EQ(m_statistics.lateCallbacks()[0].seconds, 1.04);
    EXPECT_DOUBLE_EQ(m_statistics.lateCallbacks()[0].milliseconds, 40.001);
}

TEST_F(SettledIntervals, ManyLate_AllCountButOnlySomeAreKept) {
    for (std::size_t i = 0; i < IntervalStatistics::kMaxLateKept + 5; ++i)
        add(50ms);
    EXPECT_EQ(m_statistics.late(), IntervalStatistics::kMaxLateKept + 5);
    EXPECT_EQ(m_statistics.lateCallbacks().size(), IntervalStatistics::kMaxLateKept);
}

TEST_F(SettledIntervals, Burst_IsShorterThanFiveMilliseconds) {
    add(5ms);
    EXPECT_EQ(m_statistics.bursts(), 0U);
    add(4999us);
    EXPECT_EQ(m_statistics.bursts(), 1U);
    EXPECT_EQ(m_statistics.longestBurst(), 2U);
}

TEST_F(SettledIntervals, Bursts_AreCountedAsRunsAndTheLongestIsKept) {
    for (const auto interval : {1ms, 1ms, 1ms, 20ms, 1ms, 20ms, 20ms})
        add(interval);
    EXPECT_EQ(m_statistics.bursts(), 2U);
    EXPECT_EQ(m_statistics.longestBurst(), 4U);
}

TEST_F(SettledIntervals, Histogram_HasBinsOfOneMillisecondAndOneForTheRest) {
    for (const auto interval : {19999us, 20000us, 20999us, 21000us, 99999us, 100000us, 5000000us})
        add(interval);
    const auto& bins = m_statistics.histogram();
    EXPECT_EQ(bins[19], 1U);
    EXPECT_EQ(bins[20], 2U);
    EXPECT_EQ(bins[21], 1U);
    EXPECT_EQ(bins[99], 1U);
    EXPECT_EQ(bins[100], 2U);
    EXPECT_EQ(std::accumulate(bins.begin(), bins.end(), std::uint64_t{0}), m_statistics.intervals());
}

} // namespace
} // namespace soundcheck
