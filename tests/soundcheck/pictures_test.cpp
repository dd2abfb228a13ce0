// The pictures of a report: what of the data is to be seen in the SVG text.
#include "pictures/drawing.h"
#include "pictures/pictures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace soundcheck {
namespace {

std::size_t occurrences(const std::string& text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

/** Numbers behind `attribute="` in all elements of a class. */
std::vector<double> numbersOf(const std::string& svg, std::string_view markClass, const std::string& attribute) {
    std::vector<double> numbers;
    const std::string ending = "class=\"" + std::string(markClass) + "\"";
    for (std::size_t at = svg.find(ending); at != std::string::npos; at = svg.find(ending, at + 1)) {
        const std::size_t start = svg.rfind('<', at);
        const std::size_t place = svg.find(" " + attribute + "=\"", start);
        numbers.push_back(std::stod(svg.substr(place + attribute.size() + 3)));
    }
    return numbers;
}

WaveTrack track(const std::string& name, std::size_t columns, double amplitude) {
    WaveTrack result{name, {}};
    for (std::size_t i = 0; i < columns; ++i)
        result.columns.push_back({static_cast<double>(i) * 0.02, -amplitude, amplitude});
    return result;
}

TEST(Pictures, NoData_GivesNoPicture) {
    EXPECT_TRUE(waveformPicture({}).empty());
    EXPECT_TRUE(waveformPicture(std::vector<WaveTrack>{{"played", {}}}).empty());
    EXPECT_TRUE(intervalPicture({}).empty());
    EXPECT_TRUE(intervalPicture({1, {0, 0, 0}}).empty());
    EXPECT_TRUE(lagPicture({}).empty());
    EXPECT_TRUE(timelinePicture({}, std::vector<TimelineMark>{{1, 1, "a line alone is no timeline"}}).empty());
    EXPECT_TRUE(timelinePicture(std::vector<TimelineRow>{{"opened only", {}, {}}}, {}).empty());
}

TEST(Pictures, Texts_AreEscaped) {
    EXPECT_EQ(escaped("<a href=\"x\">&'"), "&lt;a href=&quot;x&quot;&gt;&amp;&#39;");
    EXPECT_EQ(escaped("cut \xC3"), "cut \xEF\xBF\xBD");
    EXPECT_EQ(escaped(std::string_view("\x01\0", 2)), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(escaped("S\xC3\xBC\xC3\x9F"), "S\xC3\xBC\xC3\x9F");
    const std::string svg = timelinePicture(std::vector<TimelineRow>{{"<script>", {{0, 1}}, {}}},
                                            std::vector<TimelineMark>{{0.5, 1, "</title><script>"}});
    EXPECT_FALSE(contains(svg, "<script>"));
    EXPECT_TRUE(contains(svg, "&lt;script&gt;"));
}

TEST(Pictures, LongNames_AreCutBetweenCharacters) {
    EXPECT_EQ(shortened("Speaker", 7), "Speaker");
    EXPECT_EQ(shortened("Speakers", 7), "Speaker...");
    EXPECT_EQ(shortened("\xE9\x9F\xB3\xE9\x9F\xB3\xE9\x9F\xB3", 4), "\xE9\x9F\xB3\xE9\x9F\xB3...");
    EXPECT_EQ(shortened("a\xF0\x9F\x8E\xA4", 4), "a...") << "a pair of units is one character";
}

TEST(Waveforms, EverySignal_HasItsNameAndPeak) {
    const std::string svg = waveformPicture(
        std::vector<WaveTrack>{track("played", 100, 0.5), track("captured", 0, 1), track("reference", 100, 0)});
    EXPECT_TRUE(contains(svg, "played, peak -6.0 dB"));
    EXPECT_FALSE(contains(svg, "captured")) << "nothing was captured";
    EXPECT_TRUE(contains(svg, "reference, silence"));
    EXPECT_EQ(occurrences(svg, "class=\"wave\""), 2U);
}

TEST(Waveforms, SameTime_LiesAtTheSamePlace) {
    WaveTrack late = track("late", 50, 0.5);
    for (WaveColumn& column : late.columns)
        column.seconds += 1;
    const std::string svg = waveformPicture(std::vector<WaveTrack>{track("early", 100, 0.5), late}); // to 1.98 s
    const std::size_t first = svg.find("class=\"wave\"");
    const std::size_t second = svg.rfind("class=\"wave\"");
    EXPECT_TRUE(contains(svg.substr(svg.rfind("<path", first), 40), "M22.0 ")) << "begins at the left";
    EXPECT_TRUE(contains(svg.substr(svg.rfind("<path", second), 40), "M283.0 ")) << "begins in the middle";
}

TEST(Waveforms, LongSignal_MakesASmallPicture) {
    EXPECT_LT(waveformPicture(std::vector<WaveTrack>{track("hours", 1000000, 0.5)}).size(), 50000U);
}

TEST(Waveforms, ExcerptOfOneBlock_FillsTheWidth) {
    WaveTrack block{"block", {}};
    for (int i = 0; i <= 960; ++i)
        block.columns.push_back({7 + i / 48000.0, -0.5, 0.5});
    const std::string svg = waveformPicture(std::vector<WaveTrack>{block});
    EXPECT_TRUE(contains(svg, "M22.0 "));
    EXPECT_TRUE(contains(svg, "M537.0 ")) << "up to the right";
    EXPECT_TRUE(contains(svg, ">7.010<")) << "in the time of the recording";
    EXPECT_TRUE(contains(svg, "Waveforms over 0.020 seconds"));
}

TEST(Waveforms, SteepCurve_IsOneLineWithoutHoles) {
    const std::string joined =
        waveformPicture(std::vector<WaveTrack>{{"step", {{0, -1, -1}, {0.02, 1, 1}, {0.04, 1, 1}}}});
    EXPECT_TRUE(contains(joined, "M22.0 20.0L")) << "from the bottom to the top: " << joined;
    const std::string apart = waveformPicture(std::vector<WaveTrack>{{"pause", {{0, -1, -1}, {5, 1, 1}}}});
    EXPECT_FALSE(contains(apart, "M22.0 20.0L")) << "nothing is known of the time between";
}

TEST(Waveforms, FaintNoise_IsNotStretched) {
    const std::string svg = waveformPicture(std::vector<WaveTrack>{track("noise", 10, 1e-5)});
    EXPECT_TRUE(contains(svg, "M22.0 54.")) << svg; // the middle of the row of 70 below 20: 55
}

TEST(Intervals, Bars_StandWhereTheirIntervalsAre) {
    IntervalCounts intervals{1, std::vector<std::uint64_t>(100)};
    intervals.counts[20] = 1000;
    intervals.counts[41] = 1;
    const std::string svg = intervalPicture(intervals);
    const auto left = numbersOf(svg, "bar", "x");
    const auto height = numbersOf(svg, "bar", "height");
    ASSERT_EQ(left.size(), 2U);
    EXPECT_LT(left[0], left[1]);
    EXPECT_GT(height[1], 5) << "a single late callback is to be seen";
    EXPECT_GT(height[0], 3 * height[1]);
    EXPECT_TRUE(contains(svg, "20.0 to 21.0 ms: 1000"));
}

TEST(Intervals, OneBinOnly_IsNotStretchedOverThePicture) {
    IntervalCounts intervals{0.5, std::vector<std::uint64_t>(200)};
    intervals.counts[40] = 5;
    const auto width = numbersOf(intervalPicture(intervals), "bar", "width");
    ASSERT_EQ(width.size(), 1U);
    EXPECT_LT(width[0], 30);
}

TEST(Intervals, LastBin_IsOpen) {
    EXPECT_TRUE(contains(intervalPicture({1, {0, 0, 7}}), "2.0 ms and more: 7"));
}

TEST(Lag, Nanoseconds_AreNoMountains) {
    std::vector<PlottedLag> points;
    points.reserve(50);
    for (int i = 0; i < 50; ++i)
        points.push_back({i * 0.5, 169.0 + std::sin(i) * 1e-6});
    const auto heights = numbersOf(lagPicture(points), "point", "cy");
    ASSERT_EQ(heights.size(), 50U);
    for (const double height : heights)
        EXPECT_EQ(height, heights.front());
}

TEST(Lag, AJump_IsSeen) {
    const auto heights = numbersOf(lagPicture(std::vector<PlottedLag>{{0, 100}, {1, 100}, {2, 120}}), "point", "cy");
    ASSERT_EQ(heights.size(), 3U);
    EXPECT_EQ(heights[0], heights[1]);
    EXPECT_LT(heights[2], heights[1] - 50) << "more lag is higher up";
}

TEST(Timeline, AGap_IsSeenHoweverShort) {
    const std::string svg = timelinePicture(std::vector<TimelineRow>{{"Speaker", {{0, 3600}}, {{1800, 1800.1}}}}, {});
    const auto widths = numbersOf(svg, "gap", "width");
    ASSERT_EQ(widths.size(), 1U);
    EXPECT_GE(widths[0], 2);
    EXPECT_TRUE(contains(svg, "gap of 100 ms at 1800.00 s"));
}

TEST(Timeline, LongTimes_AreCountedInMinutesAndHours) {
    const auto lasting = [](double seconds) {
        return timelinePicture(std::vector<TimelineRow>{{"Speaker", {{0, seconds}}, {}}}, {});
    };
    EXPECT_TRUE(contains(lasting(20), ">seconds<"));
    EXPECT_TRUE(contains(lasting(1800), ">minutes<"));
    EXPECT_TRUE(contains(lasting(1800), ">30<"));
    EXPECT_TRUE(contains(lasting(8 * 3600), ">hours<"));
    EXPECT_TRUE(contains(lasting(8 * 3600), ">8<"));
}

TEST(Timeline, LogLines_AreMarkedByLevel_AndAThousandInOnePlaceOnce) {
    std::vector<TimelineMark> marks(1000, {2, 1, "an error"});
    marks.push_back({1, 2, "a warning"});
    const std::string svg = timelinePicture(std::vector<TimelineRow>{{"Speaker", {{0, 4}}, {}}}, marks);
    EXPECT_EQ(numbersOf(svg, "error", "x").size(), 1U);
    ASSERT_EQ(numbersOf(svg, "warning", "x").size(), 1U);
    EXPECT_LT(numbersOf(svg, "warning", "x")[0], numbersOf(svg, "error", "x")[0]);
}

} // namespace
} // namespace soundcheck
