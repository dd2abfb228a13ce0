// `loop` against the fake plug-in, whose playback and capture devices a cable joins: every error is told, and nothing else.
#include "command_run.h"
#include "fake/cable.h"
#include "report/document.h"

#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

class Loop : public test::CommandRun {
protected:
    int runLoop(const char* words, std::vector<std::string> more = {}, const char* seconds = "1") {
        misbehave(words);
        std::vector<std::string> arguments = {"loop", "--seconds", seconds};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(std::move(arguments));
    }
    Json document() const { return Json::parse(output()); }
};

TEST_F(Loop, CleanCable_GivesZeroAndTellsTheNumbers) {
    EXPECT_EQ(runLoop("loopback"), 0) << errors();
    EXPECT_TRUE(said("summary command=loop playback=\"Fake Speaker\" capture=\"Fake Microphone\" ")) << output();
    EXPECT_TRUE(said(" marks=23 "));
    EXPECT_TRUE(said(" dropped_frames=0 added_frames=0 pops=0 swapped=0 drift_ppm=0.0 "));
    EXPECT_TRUE(said(" ended=complete\n"));
    EXPECT_TRUE(said("channel 1: played channel 1, gain 0.0 dB, noise -120.0 dB\n"));
    EXPECT_TRUE(said("channel 2: played channel 2, gain 0.0 dB, noise -120.0 dB\n"));
    EXPECT_EQ(journal(), "initialize open-1 open-2 start-2 start-1 stop-2 close-2 wait stop-1 close-1 wait wait "
                         "finalize ");
}

TEST_F(Loop, FramesDropped_AreToldWithTheirPlace) {
    EXPECT_EQ(runLoop("loopback loopback-drop", {"--json"}), 1);
    EXPECT_TRUE(said("480 frames were lost in 1 place, at "));
    const Json disturbances = document()["loop"]["disturbances"];
    ASSERT_EQ(disturbances.size(), 1U);
    EXPECT_EQ(disturbances[0]["kind"], "dropped");
    EXPECT_EQ(disturbances[0]["frames"], 480);
    // Silence was captured before the playback began, in whole blocks.
    const std::uint64_t place = disturbances[0]["frame"];
    EXPECT_LT((place - fake::Cable::kDelayFrames - fake::Cable::kErrorFrame) % 960, 16U) << place;
    EXPECT_EQ(document()["loop"]["dropped_frames"], 480);
}

TEST_F(Loop, FramesAdded_AreTold) {
    EXPECT_EQ(runLoop("loopback loopback-add"), 1);
    EXPECT_TRUE(said("480 frames were added in 1 place, at "));
    EXPECT_TRUE(said(" dropped_frames=0 added_frames=480 pops=0 "));
}

TEST_F(Loop, Pop_IsTold) {
    EXPECT_EQ(runLoop("loopback loopback-pop"), 1);
    EXPECT_TRUE(said("1 frame was spoilt in 1 place, at "));
    EXPECT_TRUE(said(" dropped_frames=0 added_frames=0 pops=1 "));
}

TEST_F(Loop, Swap_IsTold) {
    EXPECT_EQ(runLoop("loopback loopback-swap"), 1);
    EXPECT_TRUE(said("Left and right are swapped."));
    EXPECT_TRUE(said(" pops=0 swapped=1 "));
}

TEST_F(Loop, NoCable_NothingCameBack) {
    EXPECT_EQ(runLoop("loopback loopback-mute", {"--json"}), 1);
    EXPECT_TRUE(said("Nothing of the probe came back"));
    EXPECT_EQ(document()["loop"]["marks"], 0);
    EXPECT_EQ(document()["loop"].count("latency_ms"), 0U);
}

TEST_F(Loop, Keep_OnlyFailingRecordingsAreKept) {
    EXPECT_EQ(runLoop("loopback", {"--keep", path("kept.wav"), "--json"}), 0);
    EXPECT_FALSE(std::filesystem::exists(m_folder.file("kept.wav")));
    EXPECT_EQ(document()["loop"]["kept"], false);
    EXPECT_EQ(runLoop("loopback loopback-pop", {"--keep", path("kept.wav"), "--json"}), 1);
    EXPECT_EQ(document()["loop"]["kept"], true);
    const auto samples = samplesOf(m_folder.file("kept.wav"));
    const std::uint64_t place = document()["loop"]["disturbances"][0]["frame"];
    ASSERT_LT(2 * place + 1, samples.size());
    EXPECT_EQ(samples[2 * place], 30000);
}

TEST_F(Loop, KeepWhenOnlyTheLogTellsAnError_IsKept) {
    EXPECT_EQ(runLoop("loopback log-error", {"--keep", path("kept.wav"), "--json"}, "0.5"), 1);
    EXPECT_EQ(document()["findings"].size(), 1U);
    EXPECT_EQ(document()["loop"]["dropped_frames"], 0);
    EXPECT_EQ(document()["loop"]["kept"], true);
    const std::uint64_t blocks = document()["loop"]["blocks"];
    EXPECT_EQ(samplesOf(m_folder.file("kept.wav")).size(), blocks * 960 * 2);
}

TEST_F(Loop, KeepWhenADeviceFreezes_IsKept) {
    EXPECT_EQ(runLoop("freeze", {"--keep", path("kept.wav"), "--json"}), 1);
    EXPECT_EQ(document()["ended"], "gave-up");
    EXPECT_EQ(document()["loop"]["kept"], true);
    EXPECT_FALSE(samplesOf(m_folder.file("kept.wav")).empty());
}

TEST_F(Loop, KeepWhenNothingWasCaptured_MakesNoFile) {
    EXPECT_EQ(runLoop("silent", {"--keep", path("kept.wav"), "--json"}), 1);
    EXPECT_EQ(document()["loop"]["blocks"], 0);
    EXPECT_EQ(document()["loop"]["kept"], false);
    EXPECT_FALSE(std::filesystem::exists(m_folder.file("kept.wav")));
}

TEST_F(Loop, KeepFails_IsAFindingBesideTheOthers) {
    EXPECT_EQ(runLoop("loopback loopback-pop", {"--keep", path("missing/kept.wav"), "--json"}), 1);
    EXPECT_TRUE(said("The file cannot be created"));
    EXPECT_EQ(document()["findings"].size(), 2U);
    EXPECT_EQ(document()["loop"]["kept"], false);
}

TEST_F(Loop, CtrlCTooEarly_GivesSeventySeven) {
    std::jthread user([this] {
        std::this_thread::sleep_for(150ms);
        m_interrupt.request();
    });
    EXPECT_EQ(runLoop("loopback", {}, "30"), 77);
    EXPECT_TRUE(said("interrupted before there was anything to judge"));
    EXPECT_FALSE(said("Nothing of the probe"));
}

TEST_F(Loop, CtrlCInTheSines_JudgesWhatCame) {
    std::jthread user([this](const std::stop_token& stop) {
        while (played().size() < 6 * fake::Cable::kErrorFrame && !stop.stop_requested())
            std::this_thread::sleep_for(20ms);
        m_interrupt.request();
    });
    EXPECT_EQ(runLoop("loopback loopback-drop", {}, "30"), 1);
    EXPECT_TRUE(said("480 frames were lost in 1 place, at "));
    EXPECT_TRUE(said(" ended=interrupted\n"));
}

TEST_F(Loop, DeviceFreezes_GivesOne) {
    EXPECT_EQ(runLoop("freeze"), 1);
    EXPECT_TRUE(said("stands still"));
    EXPECT_TRUE(said(" ended=gave-up\n"));
}

TEST_F(Loop, SelfTest_FindsEveryErrorWithoutAnyPlugin) {
    EXPECT_EQ(runAsIs({"loop", "--selftest", "--dll", path("missing.dll")}), 0) << errors();
    EXPECT_TRUE(said("right  Clean (48000 Hz, 2 channels, 16 bits)\n"));
    EXPECT_FALSE(said("WRONG"));
    EXPECT_TRUE(said(" wrong=0 "));
}

TEST_F(Loop, CtrlCBeforeTheSelfTest_GivesSeventySeven) {
    m_interrupt.request();
    EXPECT_EQ(runAsIs({"loop", "--selftest"}), 77);
}

TEST_F(Loop, CtrlCInTheSelfTest_TellsWhatWasTried) {
    std::jthread user([this] {
        std::this_thread::sleep_for(300ms);
        m_interrupt.request();
    });
    EXPECT_EQ(runAsIs({"loop", "--selftest"}), 0) << errors();
    EXPECT_TRUE(said("right  Clean"));
    EXPECT_TRUE(said(" ended=interrupted\n"));
}

TEST_F(Loop, WrongOptions_GiveTwo) {
    EXPECT_EQ(runAsIs({"loop", "--seconds", "0.1"}), 2);
    EXPECT_EQ(run({"loop", "--device-capture", "gramophone"}), 5);
    misbehave("no-devices");
    EXPECT_EQ(run({"loop"}), 77);
}

} // namespace
} // namespace soundcheck
