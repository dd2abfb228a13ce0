// The full loop: a known signal is played through the plug-in, comes back through the sink's monitor, and is captured
// through the plug-in. At 48 kHz nothing on this road resamples, so every frame can be told from every other.
#include "client.h"
#include "known_signal.h"
#include "machine_watch.h"

#include <thread>

namespace {

using namespace live;

constexpr Milliseconds kPatience{5000};
constexpr int kSeconds = 60;
constexpr int kRate = 48000;
constexpr std::size_t kFramesPerBlock = kRate / 50;

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
        captureTimes.reserve(std::size_t{50} * (kSeconds + 10));
        recording.reserve(static_cast<std::size_t>(kRate) * 2 * (kSeconds + 10));
        playback->callbacks.play = [this](AudioBlock* block) {
            writeSignal(block->samples, played, static_cast<std::size_t>(block->frameCount), 2);
            played += static_cast<std::uint64_t>(block->frameCount);
            return block->frameCount;
        };
        capture->callbacks.capture = [this](const AudioBlock* block, const AudioBlock*) {
            recording.insert(recording.end(), block->samples,
                             block->samples + static_cast<std::size_t>(block->frameCount) * 2);
            captureTimes.push_back(MachineWatch::Clock::now());
        };
    }

    [[nodiscard]] MachineWatch::Clock::time_point timeOf(std::size_t frame) const {
        return captureTimes.at(frame / kFramesPerBlock);
    }

    /// Frames of the recording during which the machine was at work without a pause.
    [[nodiscard]] std::uint64_t undisturbedFrames(const MachineWatch& watch) const {
        std::uint64_t blocks = 0;
        for (const auto time : captureTimes)
            blocks += watch.disturbed(time) ? 0U : 1U;
        return blocks * kFramesPerBlock;
    }

    Device* playback = nullptr;
    Device* capture = nullptr;
    std::uint64_t played = 0;                                  // frames; the playback worker's
    std::vector<std::int16_t> recording;                       // the capture worker's
    std::vector<MachineWatch::Clock::time_point> captureTimes; // of every block; the capture worker's
};

TEST_F(Capture, KnownSignalForAMinute_NothingIsLostRepeatedOrChangedWhileTheMachineWorks) {
    ASSERT_EQ(capture->start(), 0);
    ASSERT_TRUE(capture->waitForBlocks(10, kPatience));
    ASSERT_EQ(playback->start(), 0);
    std::this_thread::sleep_for(std::chrono::seconds(kSeconds + 2)); // the road takes some of it
    ASSERT_EQ(capture->stop(), 0);
    ASSERT_EQ(client.finalize(), 0);

    const SignalReport report = examine(recording, 2);
    const MachineWatch watch = MachineWatch::read();
    const std::uint64_t undisturbed = undisturbedFrames(watch);
    std::cout << "first frame " << report.firstFrame << ", compared " << report.compared << ", lost " << report.lost
              << ", repeated " << report.repeated << ", wrong " << report.wrong << ", largest difference "
              << report.largestDifference << ", " << undisturbed / kRate << " s without a pause of the machine\n";
    ASSERT_TRUE(report.found);
    for (const Trouble& trouble : report.troubles) {
        if (watch.disturbed(timeOf(trouble.position)))
            std::cout << describe(trouble) << ", while the machine stood still\n";
        else
            ADD_FAILURE() << describe(trouble);
    }
    EXPECT_GE(report.compared + report.lost + report.wrong, static_cast<std::uint64_t>(kSeconds) * kRate);
    EXPECT_GE(undisturbed, static_cast<std::uint64_t>(kSeconds) * kRate / 2) << "The machine stood still too often";
}

} // namespace
