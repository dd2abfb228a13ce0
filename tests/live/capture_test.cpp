// The full loop: a known signal is played through the plug-in, comes back through the sink's monitor, and is captured
// through the plug-in. At 48 kHz nothing on this road resamples, so every frame can be told from every other.
#include "client.h"
#include "signal.h"

#include <thread>

namespace {

using namespace live;

constexpr Milliseconds kPatience{5000};
constexpr int kSeconds = 60;
constexpr int kRate = 48000;

class Capture : public LiveTest {
protected:
    void SetUp() override {
        LiveTest::SetUp();
        capture = &client.device(ORVO_CAPTURE, "Monitor of Speaker");
        playback = &client.device(ORVO_PLAYBACK, "Speaker");
        ASSERT_EQ(capture->open(), 0);
        ASSERT_EQ(playback->open(), 0);
        ASSERT_EQ(playback->format.rate, static_cast<std::uint32_t>(kRate));
        ASSERT_EQ(capture->format.rate, static_cast<std::uint32_t>(kRate));
        ASSERT_EQ(playback->format.channels, 2U);
        ASSERT_EQ(capture->format.channels, 2U);
        recording.reserve(static_cast<std::size_t>(kRate) * 2 * (kSeconds + 10));
        playback->callbacks.play = [this](AudioBlock* block) {
            writeSignal(block->samples, played, static_cast<std::size_t>(block->frameCount), 2);
            played += static_cast<std::uint64_t>(block->frameCount);
            return block->frameCount;
        };
        capture->callbacks.capture = [this](const AudioBlock* block, const AudioBlock*) {
            recording.insert(recording.end(), block->samples, block->samples + block->frameCount * 2);
        };
    }

    Device* playback = nullptr;
    Device* capture = nullptr;
    std::uint64_t played = 0;            // frames; the playback worker's
    std::vector<std::int16_t> recording; // the capture worker's
};

TEST_F(Capture, KnownSignalForAMinute_NothingIsLostRepeatedOrChanged) {
    ASSERT_EQ(capture->start(), 0);
    ASSERT_TRUE(capture->waitForBlocks(10, kPatience));
    ASSERT_EQ(playback->start(), 0);
    std::this_thread::sleep_for(std::chrono::seconds(kSeconds + 2)); // the road takes some of it
    ASSERT_EQ(capture->stop(), 0);
    ASSERT_EQ(client.finalize(), 0);

    const SignalReport report = examine(recording, 2);
    std::cout << "first frame " << report.firstFrame << ", compared " << report.compared << ", lost " << report.lost
              << ", repeated " << report.repeated << ", wrong " << report.wrong << ", largest difference "
              << report.largestDifference << ' ' << report.places << '\n';
    ASSERT_TRUE(report.found);
    EXPECT_EQ(report.lost, 0U);
    EXPECT_EQ(report.repeated, 0U);
    EXPECT_EQ(report.wrong, 0U);
    EXPECT_GE(report.compared, static_cast<std::uint64_t>(kSeconds) * kRate);
}

} // namespace
