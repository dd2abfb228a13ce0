// What is kept of a device for the pictures: bounded, and nothing of what matters lost.
#include "report/trace_book.h"
#include "streams/device_trace.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

constexpr TraceClock::time_point kStart{1h};

TEST(SampleRange, OfBothKindsOfSamples) {
    constexpr std::array<std::int16_t, 4> kWide = {3, -7, 12, 0};
    EXPECT_EQ(rangeOf(kWide).low, -7);
    EXPECT_EQ(rangeOf(kWide).high, 12);
    constexpr std::array<std::uint8_t, 3> kNarrow = {128, 0, 255};
    EXPECT_EQ(rangeOf(kNarrow).low, -32768);
    EXPECT_EQ(rangeOf(kNarrow).high, 127 * 256);
    EXPECT_EQ(rangeOf(std::span<const std::int16_t>()).high, 0);
}

TEST(SignalTrace, LongSignal_GetsCoarserAndKeepsItsPeaks) {
    SignalTrace trace;
    constexpr int kBlocks = 100000;
    for (int i = 0; i < kBlocks; ++i)
        trace.add(kStart + i * 20ms, i == 54321 ? SampleRange{-9, 30000} : SampleRange{-5, 5});
    const auto columns = trace.columns();
    EXPECT_LE(columns.size(), SignalTrace::kColumns);
    EXPECT_GT(columns.size(), SignalTrace::kColumns / 2);
    EXPECT_EQ(columns.front().time, kStart);
    EXPECT_GT(columns.back().time, kStart + (kBlocks - 64) * 20ms);
    std::size_t peaks = 0;
    for (const SignalTrace::Column& column : columns)
        if (column.range.high == 30000) {
            ++peaks;
            EXPECT_EQ(column.range.low, -9);
            EXPECT_NEAR(std::chrono::duration<double>(column.time - kStart).count(), 54321 * 0.02, 0.02 * 64);
        }
    EXPECT_EQ(peaks, 1U);
}

TEST(IntervalTrace, Intervals_AreCountedInTheirBins) {
    IntervalTrace trace;
    trace.begin();
    auto now = kStart;
    trace.add(now);
    for (const auto interval : {20ms, 20ms, 33ms, 5000ms})
        trace.add(now += interval);
    EXPECT_EQ(trace.counts()[40], 2U);
    EXPECT_EQ(trace.counts()[66], 1U);
    EXPECT_EQ(trace.counts()[IntervalTrace::kBins - 1], 1U);
    ASSERT_EQ(trace.gaps().size(), 1U);
    EXPECT_EQ(trace.gaps()[0].to - trace.gaps()[0].from, 5000ms);
}

TEST(IntervalTrace, Reopening_BeginsANewRunAndIsNoGap) {
    IntervalTrace trace;
    trace.begin();
    trace.add(kStart);
    trace.add(kStart + 20ms);
    trace.end(kStart + 30ms);
    trace.begin();
    trace.add(kStart + 5s);
    EXPECT_EQ(trace.runs().size(), 2U);
    EXPECT_EQ(trace.runs()[0].to, kStart + 30ms);
    EXPECT_TRUE(trace.gaps().empty());
}

TEST(IntervalTrace, SilenceUntilTheStop_IsAGap) {
    IntervalTrace trace;
    trace.begin();
    trace.add(kStart);
    trace.end(kStart + 3s);
    ASSERT_EQ(trace.gaps().size(), 1U);
    EXPECT_EQ(trace.gaps()[0].to, kStart + 3s);
}

TEST(IntervalTrace, ManyRunsAndGaps_StayBounded) {
    IntervalTrace trace;
    auto now = kStart;
    for (int i = 0; i < 5000; ++i) {
        trace.begin();
        trace.add(now += 20ms);
        trace.add(now += 1s);
    }
    EXPECT_EQ(trace.runs().size(), IntervalTrace::kMostSpans);
    EXPECT_EQ(trace.gaps().size(), IntervalTrace::kMostSpans);
    EXPECT_EQ(trace.runs().back().to, now);
}

TEST(TraceBook, NotAsked_KeepsNothing) {
    TraceBook book;
    EXPECT_EQ(book.begin(ORVO_PLAYBACK, "{1}", "Speaker"), nullptr);
    EXPECT_TRUE(book.ended().empty());
}

TEST(TraceBook, SameDevice_GoesOnInItsTrace_AndIsShownWhenItHasEnded) {
    TraceBook book;
    book.keep();
    DeviceTrace* const first = book.begin(ORVO_PLAYBACK, "{1}", "Speaker");
    EXPECT_NE(book.begin(ORVO_CAPTURE, "{1}", "Microphone"), first);
    EXPECT_TRUE(book.ended().empty()) << "callbacks may still write into it";
    first->end(kStart);
    ASSERT_EQ(book.ended().size(), 1U);
    EXPECT_EQ(book.ended()[0]->name(), "Speaker");
    EXPECT_EQ(book.begin(ORVO_PLAYBACK, "{1}", "Speaker"), first);
    EXPECT_TRUE(book.ended().empty());
}

TEST(TraceBook, TooManyDevices_AreNotTraced) {
    TraceBook book;
    book.keep();
    for (std::size_t i = 0; i < TraceBook::kMostDevices; ++i)
        EXPECT_NE(book.begin(ORVO_PLAYBACK, std::to_string(i), "x"), nullptr);
    EXPECT_EQ(book.begin(ORVO_PLAYBACK, "one more", "x"), nullptr);
    EXPECT_NE(book.begin(ORVO_PLAYBACK, "0", "x"), nullptr);
}

} // namespace
} // namespace soundcheck
