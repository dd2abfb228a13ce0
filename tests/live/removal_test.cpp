// A device that is pulled out while it runs. What the system then answers is its affair (errors may be logged); the
// plug-in must neither crash nor hang, and must let go of the device.
#include "client.h"
#include "host.h"

#include <thread>

namespace {

using namespace live;
using Clock = std::chrono::steady_clock;

constexpr Milliseconds kPatience{3000};

class Removal : public LiveTest {
protected:
    void SetUp() override {
        LiveTest::SetUp();
        errorsExpected = true;
    }

    void expectStopAndCloseWork(const Device& device) {
        const auto begin = Clock::now();
        EXPECT_EQ(device.stop(), 0);
        EXPECT_EQ(device.close(), 0);
        EXPECT_EQ(client.plugin.orvosoundbackend_waitForClosedDevices(client.backend), 0);
        EXPECT_LT(Clock::now() - begin, kPatience);
    }

    /// The rest of the system and of the plug-in goes on.
    void expectAnotherDeviceRuns() {
        Device& other = client.device(ORVO_PLAYBACK, "Speaker");
        ASSERT_EQ(other.open(), 0);
        ASSERT_EQ(other.start(), 0);
        EXPECT_TRUE(other.waitForBlocks(25, kPatience));
    }
};

TEST_F(Removal, SinkRemovedWhileItPlays_StopAndCloseWork) {
    Device& device = client.device(ORVO_PLAYBACK, "Removable");
    ASSERT_EQ(device.open(), 0);
    ASSERT_EQ(device.start(), 0);
    ASSERT_TRUE(device.waitForBlocks(10, kPatience));
    ASSERT_NO_FATAL_FAILURE(pullOut("removable"));
    std::this_thread::sleep_for(Milliseconds(2500)); // two rescans meet the missing device
    expectStopAndCloseWork(device);
    expectAnotherDeviceRuns();
}

TEST_F(Removal, SinkRemovedWhileItsMonitorIsCaptured_StopAndCloseWork) {
    Device& playback = client.device(ORVO_PLAYBACK, "Pulled");
    Device& capture = client.device(ORVO_CAPTURE, "Monitor of Pulled");
    for (Device* device : {&playback, &capture}) {
        ASSERT_EQ(device->open(), 0);
        ASSERT_EQ(device->start(), 0);
        ASSERT_TRUE(device->waitForBlocks(10, kPatience));
    }
    ASSERT_NO_FATAL_FAILURE(pullOut("pulled"));
    std::this_thread::sleep_for(Milliseconds(2500));
    expectStopAndCloseWork(capture);
    expectStopAndCloseWork(playback);
    expectAnotherDeviceRuns();
}

TEST_F(Removal, SinkRemovedUnderAnOpenDevice_ItCanBeClosed) {
    Device& device = client.device(ORVO_PLAYBACK, "Unplugged");
    ASSERT_EQ(device.open(), 0);
    ASSERT_NO_FATAL_FAILURE(pullOut("unplugged"));
    expectStopAndCloseWork(device);
    expectAnotherDeviceRuns();
}

} // namespace
