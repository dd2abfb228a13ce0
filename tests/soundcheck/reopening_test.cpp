// A device that stands still: told once, and with --reopen closed, waited for and opened again.
#include "command_run.h"
#include "streams/stall_watch.h"

#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;
using Reopening = test::CommandRun;

TEST(StallWatch, Restart_GivesTheDeviceTheTimeOfABeginningAgain) {
    const StallWatch::Clock::time_point began;
    StallWatch watch(began);
    EXPECT_FALSE(watch.update(5, began + 1s));
    EXPECT_TRUE(watch.update(5, began + 2001ms));
    watch.restart(began + 3s);
    EXPECT_FALSE(watch.update(5, began + 6s));
    EXPECT_TRUE(watch.update(5, began + 6001ms));
    EXPECT_EQ(watch.stalls(), 2);
}

TEST_F(Reopening, Play_FrozenDevice_GoesOnWhereItStopped) {
    misbehave("freeze-once");
    EXPECT_EQ(run({"play", path("speech.wav"), "--reopen"}), 1); // it came to its end, but a device stood still
    EXPECT_EQ(played(), m_speech);
    EXPECT_TRUE(said("Fake Speaker stands still: no block for more than a second. It is closed and opened again."));
    EXPECT_TRUE(said("reopened Fake Speaker\n"));
    EXPECT_TRUE(said(" stalls=1 reopenings=1 "));
    EXPECT_TRUE(said(" ended=complete\n"));
    EXPECT_EQ(journal(),
              "initialize open-1 start-1 stop-1 close-1 wait open-1 start-1 stop-1 close-1 wait wait finalize ");
}

TEST_F(Reopening, NotAskedFor_IsOffered) {
    misbehave("freeze");
    std::jthread user([this] {
        std::this_thread::sleep_for(2s);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"record", path("x.wav")}), 1);
    EXPECT_TRUE(
        said("stands still: no block for more than a second. Closing and opening it again may help (--reopen"));
    EXPECT_EQ(journal(), "initialize open-2 start-2 stop-2 close-2 wait wait finalize ");
}

TEST_F(Reopening, OpenFailsOnce_IsToldAndTriedAgain) {
    misbehave("freeze-once second-open-fails");
    EXPECT_EQ(run({"record", path("x.wav"), "--seconds", "0.5", "--reopen"}), 1);
    EXPECT_TRUE(said("Fake Microphone does not come back: Opening the device failed: unknown error (-228)."));
    EXPECT_TRUE(said(" reopenings=1 "));
    EXPECT_EQ(samplesOf(m_folder.file("x.wav")).size(), 24000U * 2);
}

TEST_F(Reopening, OpenFailsAlways_GivesUpWithWhatWasRecorded) {
    misbehave("freeze-once reopen-fails");
    EXPECT_EQ(run({"record", path("x.wav"), "--reopen"}), 1);
    EXPECT_TRUE(said(" ended=gave-up\n"));
    EXPECT_EQ(samplesOf(m_folder.file("x.wav")).size(), 10U * 1920);
    EXPECT_EQ(journal(), "initialize open-2 start-2 stop-2 close-2 wait open-2 open-2 open-2 wait finalize ");
}

TEST_F(Reopening, FreezesAgainAndAgain_IsTriedThreeTimes) {
    misbehave("freeze");
    EXPECT_EQ(run({"record", path("x.wav"), "--reopen"}), 1);
    EXPECT_TRUE(said(" stalls=4 reopenings=3 "));
    EXPECT_TRUE(said(" ended=gave-up\n"));
    EXPECT_EQ(samplesOf(m_folder.file("x.wav")).size(), 40U * 1920);
}

TEST_F(Reopening, Talk_CaptureDevice_IsAssociatedAgain) {
    misbehave("freeze-once");
    EXPECT_EQ(run({"talk", path("speech.wav"), "--echo-to", path("e.wav"), "--record-to", path("m.wav"), "--reopen"}),
              1);
    EXPECT_TRUE(said(" reopenings=2 "));
    const std::string calls = journal();
    const std::size_t again = calls.find("open-2", calls.find("close-2"));
    ASSERT_NE(again, std::string::npos) << calls;
    EXPECT_EQ(calls.substr(again, 25), "open-2 associate start-2 ") << calls;
    EXPECT_EQ(played(), m_speech);
}

TEST_F(Reopening, CtrlCMeanwhile_EndsTheRun) {
    misbehave("freeze-once reopen-fails");
    std::jthread user([this] {
        std::this_thread::sleep_for(1500ms);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"record", path("x.wav"), "--reopen"}), 1);
    EXPECT_TRUE(said(" ended=interrupted\n"));
}

} // namespace
} // namespace soundcheck
