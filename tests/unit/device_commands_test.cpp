#include "fake_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

namespace directsound {
namespace {

using testing::ElementsAre;

class DeviceCommands : public testing::Test {
protected:
    BackendResult open() {
        EXPECT_TRUE(device.startWorker());
        return device.commandOpen(format);
    }

    FakeHost host;
    Journal journal;
    FakeDevice device{host, journal};
    std::optional<DeviceFormat> format;
};

TEST_F(DeviceCommands, WholeLife_Stopped_EachOperationOnce) {
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(device.commandStart(), 0);
    device.commandStop();
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "start", "processData", "stop", "close"));
}

TEST_F(DeviceCommands, Open_Fails_ItsCodeAndNoFormat) {
    device.onOpen = [] { return -228; };
    EXPECT_EQ(open(), -228);
    EXPECT_FALSE(format.has_value());
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "close"));
}

TEST_F(DeviceCommands, Open_Throws_Unknown) {
    device.onOpen = []() -> BackendResult { throw std::runtime_error("open"); };
    EXPECT_EQ(open(), -233);
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "close"));
}

TEST_F(DeviceCommands, Open_Twice_OutOfOrderAndWorkerUntouched) {
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(device.commandOpen(format), -232);
    EXPECT_EQ(device.commandStart(), 0);
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "start", "processData", "stop", "close"));
}

TEST_F(DeviceCommands, Start_BeforeOpen_OutOfOrder) {
    EXPECT_EQ(device.commandStart(), -232);
}

TEST_F(DeviceCommands, Start_WhileRunning_OutOfOrder) {
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(device.commandStart(), 0);
    EXPECT_EQ(device.commandStart(), -232);
    device.terminateAndJoin();
}

TEST_F(DeviceCommands, Start_AfterStop_OutOfOrder) {
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(device.commandStart(), 0);
    device.commandStop();
    EXPECT_EQ(device.commandStart(), -232);
    device.terminateAndJoin();
    EXPECT_EQ(device.commandStart(), -232);
}

TEST_F(DeviceCommands, Start_Fails_ItsCodeAndWorkerEnds) {
    device.onStart = [] { return -221; };
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(device.commandStart(), -221);
    EXPECT_EQ(device.commandStart(), -232);
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "start", "close"));
}

TEST_F(DeviceCommands, Start_Throws_Unknown) {
    device.onStart = []() -> BackendResult { throw std::runtime_error("start"); };
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(device.commandStart(), -233);
    device.terminateAndJoin();
}

TEST_F(DeviceCommands, Stop_NeverStarted_NothingHappens) {
    EXPECT_EQ(open(), 0);
    device.commandStop();
    EXPECT_EQ(device.commandStart(), 0);
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "start", "processData", "stop", "close"));
}

TEST_F(DeviceCommands, Stop_Throws_WorkerStillCloses) {
    device.onStop = []() -> BackendResult { throw std::runtime_error("stop"); };
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(device.commandStart(), 0);
    device.commandStop();
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "start", "processData", "stop", "close"));
}

TEST_F(DeviceCommands, Loop_EndsOrThrows_StoppedLikeAnyOther) {
    device.loopEndsByItself = true;
    device.onProcess = [] { throw std::runtime_error("loop"); };
    EXPECT_EQ(open(), 0);
    std::ignore = device.commandStart(); // the loop may be over before the answer is read
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "start", "processData", "stop", "close"));
}

TEST_F(DeviceCommands, Terminate_Running_StoppedAndClosed) {
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(device.commandStart(), 0);
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "start", "processData", "stop", "close"));
}

TEST_F(DeviceCommands, Terminate_StopThrows_WorkerStillCloses) {
    device.onStop = []() -> BackendResult { throw std::runtime_error("stop"); };
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(device.commandStart(), 0);
    device.terminateAndJoin();
    EXPECT_EQ(journal.lines().back(), "close");
}

TEST_F(DeviceCommands, Terminate_Open_OnlyClosed) {
    EXPECT_EQ(open(), 0);
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("open", "close"));
}

TEST_F(DeviceCommands, Terminate_New_OnlyClosed) {
    EXPECT_TRUE(device.startWorker());
    device.terminateAndJoin();
    EXPECT_THAT(journal.lines(), ElementsAre("close"));
}

TEST_F(DeviceCommands, Format_Extensible_ItsOwnMask) {
    device.reported.Format = {WAVE_FORMAT_EXTENSIBLE, 1, 48000, 96000, 2, 16, 22};
    device.reported.dwChannelMask = 4;
    EXPECT_EQ(open(), 0);
    ASSERT_TRUE(format.has_value());
    EXPECT_EQ(format->channels, 1U);
    EXPECT_EQ(format->bitsPerSample, 16U);
    EXPECT_EQ(format->sampleRate, 48000U);
    EXPECT_EQ(format->channelMask, 4U);
    device.terminateAndJoin();
}

TEST_F(DeviceCommands, Format_PlainMono_TheMonoMarker) {
    device.reported.Format = {WAVE_FORMAT_PCM, 1, 48000, 48000, 1, 8, 0};
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(format->channelMask, 0x40000000U);
    device.terminateAndJoin();
}

TEST_F(DeviceCommands, Format_PlainStereo_FrontPair) {
    device.reported.Format = {WAVE_FORMAT_PCM, 2, 48000, 192000, 4, 16, 0};
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(format->channelMask, 3U);
    device.terminateAndJoin();
}

TEST_F(DeviceCommands, Format_PlainSixChannels_NoMask) {
    device.reported.Format = {WAVE_FORMAT_PCM, 6, 48000, 576000, 12, 16, 0};
    EXPECT_EQ(open(), 0);
    EXPECT_FALSE(format->channelMask.has_value());
    device.terminateAndJoin();
}

TEST_F(DeviceCommands, NewDevice_HasNoCushion) {
    EXPECT_EQ(device.m_LatencyBlocks, 0U);
}

TEST(DeviceStates, Numbers_AreFixed) {
    EXPECT_EQ(static_cast<int>(DeviceState::New), 0);
    EXPECT_EQ(static_cast<int>(DeviceState::Open), 1);
    EXPECT_EQ(static_cast<int>(DeviceState::Running), 2);
    EXPECT_EQ(static_cast<int>(DeviceState::Stopped), 3);
    EXPECT_EQ(static_cast<int>(DeviceState::TerminateRequested), 4);
    EXPECT_EQ(static_cast<int>(DeviceState::Failed), 5);
}

} // namespace
} // namespace directsound
