// The pictures of a loopback: each place that something is wrong at is shown, and its caption says what it is.
#include "loopback/analysis.h"
#include "loopback/loop_pictures.h"
#include "loopback/synthetic_loop.h"

#include <gtest/gtest.h>

namespace soundcheck {
namespace {

std::vector<PagePicture> picturesOf(const SyntheticLoop& loop, const LoopRecording& recording) {
    return loopPictures(analyse(recording, loop.probe()), loop.sampleRate);
}

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

TEST(LoopPictures, CleanLoop_ShowsTheRoundTripAndTheFirstMark) {
    const SyntheticLoop loop;
    const std::vector<PagePicture> pictures = picturesOf(loop, makeRecording(loop));
    ASSERT_EQ(pictures.size(), 2U);
    EXPECT_TRUE(contains(pictures[0].caption, "Round trip"));
    EXPECT_TRUE(contains(pictures[1].caption, "The first mark"));
    for (const PagePicture& picture : pictures)
        EXPECT_TRUE(contains(picture.svg, "<svg"));
}

TEST(LoopPictures, LostAndAddedFrames_EachIsShownAtItsPlace) {
    const SyntheticLoop loop;
    LoopRecording recording = makeRecording(loop);
    insertSilence(recording, frameInTone(loop, 1.2), 500); // from the end, so that the places stay
    dropFrames(recording, frameInTone(loop, 0.3), 33);
    const std::vector<PagePicture> pictures = picturesOf(loop, recording);
    ASSERT_EQ(pictures.size(), 4U);
    EXPECT_TRUE(contains(pictures[2].caption, "33 frames dropped")) << pictures[2].caption;
    EXPECT_TRUE(contains(pictures[3].caption, "500 frames added")) << pictures[3].caption;
    for (const std::size_t i : {2U, 3U}) {
        EXPECT_TRUE(contains(pictures[i].svg, "played, peak"));
        EXPECT_TRUE(contains(pictures[i].svg, "captured, peak"));
        EXPECT_TRUE(contains(pictures[i].caption, "What was played and what came back at "));
    }
    EXPECT_NE(pictures[2].svg, pictures[3].svg);
}

TEST(LoopPictures, ManyErrors_OnlyTheFirstFiveAreShown) {
    const SyntheticLoop loop;
    LoopRecording recording = makeRecording(loop);
    for (int i = 0; i < 7; ++i)
        spoilFrames(recording, frameInTone(loop, 0.2 + 0.15 * i), 1, 0.9F);
    EXPECT_EQ(picturesOf(loop, recording).size(), 7U);
}

TEST(LoopPictures, NothingCameBack_ThereIsNothingToShow) {
    EXPECT_TRUE(loopPictures(LoopResult{}, 48000).empty());
}

} // namespace
} // namespace soundcheck
