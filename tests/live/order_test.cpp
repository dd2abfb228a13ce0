#include "client.h"

#include <thread>

namespace {

using namespace live;

constexpr Milliseconds kPatience{3000};

class Order : public LiveTest, public testing::WithParamInterface<int> {
protected:
    const DeviceDirection direction = static_cast<DeviceDirection>(GetParam());
    const std::string name = direction == ORVO_PLAYBACK ? "Speaker" : "Monitor of Speaker";

    Device& device() { return client.device(direction, name); }
    void waitForClosed() { EXPECT_EQ(client.plugin.orvosoundbackend_waitForClosedDevices(client.backend), 0); }

    Device& opened() {
        Device& opening = device();
        EXPECT_EQ(opening.open(), 0);
        return opening;
    }
    Device& running() {
        Device& opening = opened();
        EXPECT_EQ(opening.start(), 0);
        EXPECT_TRUE(opening.waitForBlocks(5, kPatience));
        return opening;
    }
    void expectNoMoreBlocks(const Device& opening) {
        const std::uint64_t blocks = opening.blocks();
        std::this_thread::sleep_for(Milliseconds(100));
        EXPECT_EQ(opening.blocks(), blocks);
    }
};

TEST_P(Order, Open_ReportsTheFormatAndMovesNoAudio) {
    const Device& opening = opened();
    EXPECT_GE(opening.format.channels, 1U);
    EXPECT_EQ(opening.format.bits, 16U);
    EXPECT_EQ(opening.format.rate, 48000U);
    EXPECT_NE(opening.format.mask, 0U);
    expectNoMoreBlocks(opening);
    EXPECT_EQ(opening.blocks(), 0U);
}

TEST_P(Order, OpenStartStopClose_MovesAudioUntilStopped) {
    const Device& opening = running();
    EXPECT_EQ(opening.stop(), 0);
    std::this_thread::sleep_for(Milliseconds(100)); // a block or two may still come
    expectNoMoreBlocks(opening);
    EXPECT_EQ(opening.close(), 0);
    waitForClosed();
}

TEST_P(Order, CloseUnstarted_Succeeds) {
    EXPECT_EQ(opened().close(), 0);
    waitForClosed();
}

TEST_P(Order, StopUnstarted_IsNoErrorAndChangesNothing) {
    const Device& opening = opened();
    EXPECT_EQ(opening.stop(), 0);
    EXPECT_EQ(opening.start(), 0);
    EXPECT_TRUE(opening.waitForBlocks(5, kPatience));
}

TEST_P(Order, StopTwice_IsNoError) {
    const Device& opening = running();
    EXPECT_EQ(opening.stop(), 0);
    EXPECT_EQ(opening.stop(), 0);
    std::this_thread::sleep_for(Milliseconds(100));
    EXPECT_EQ(opening.stop(), 0);
    EXPECT_EQ(opening.close(), 0);
}

TEST_P(Order, CloseRunning_EndsTheCallbacks) {
    const Device& opening = running();
    EXPECT_EQ(opening.close(), 0);
    waitForClosed();
    expectNoMoreBlocks(opening);
}

TEST_P(Order, ReopenAtOnceAfterCloseRunning_Runs) {
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(running().close(), 0);
    waitForClosed();
}

TEST_P(Order, OpenTwice_IsRefusedAndTheFirstRunsOn) {
    const Device& first = running();
    EXPECT_EQ(device().open(), ORVO_DEVICE_ALREADY_OPEN);
    EXPECT_TRUE(first.waitForBlocks(5, kPatience));
}

TEST_P(Order, StartTwice_IsOutOfOrderAndItRunsOn) {
    const Device& opening = running();
    EXPECT_EQ(opening.start(), ORVO_CALL_OUT_OF_ORDER);
    EXPECT_TRUE(opening.waitForBlocks(5, kPatience));
}

TEST_P(Order, StartAfterStop_IsOutOfOrder) {
    const Device& opening = running();
    EXPECT_EQ(opening.stop(), 0);
    EXPECT_EQ(opening.start(), ORVO_CALL_OUT_OF_ORDER); // at once: it still runs
    std::this_thread::sleep_for(Milliseconds(200));
    EXPECT_EQ(opening.start(), ORVO_CALL_OUT_OF_ORDER); // later: it has stopped
}

TEST_P(Order, WrongContextId_IsRefusedAndItRunsOn) {
    const Device& opening = running();
    const Device& stranger = device();
    EXPECT_EQ(stranger.start(), ORVO_INVALID_CONTEXT_ID);
    EXPECT_EQ(stranger.stop(), ORVO_INVALID_CONTEXT_ID);
    EXPECT_EQ(stranger.close(), ORVO_INVALID_CONTEXT_ID);
    EXPECT_TRUE(opening.waitForBlocks(5, kPatience));
}

TEST_P(Order, UnopenedDevice_IsNotOpen) {
    const Device& opening = device();
    EXPECT_EQ(opening.start(), ORVO_DEVICE_NOT_OPEN);
    EXPECT_EQ(opening.stop(), ORVO_DEVICE_NOT_OPEN);
    EXPECT_EQ(opening.close(), ORVO_DEVICE_NOT_OPEN);
}

TEST_P(Order, ClosedDevice_IsNotOpen) {
    const Device& opening = running();
    EXPECT_EQ(opening.close(), 0);
    EXPECT_EQ(opening.start(), ORVO_DEVICE_NOT_OPEN);
    EXPECT_EQ(opening.stop(), ORVO_DEVICE_NOT_OPEN);
    EXPECT_EQ(opening.close(), ORVO_DEVICE_NOT_OPEN);
}

TEST_P(Order, UnknownIdentifier_CannotBeOpened) {
    errorsExpected = true;
    Format format;
    const auto open = [&](const char* id) {
        return client.plugin.orvosoundbackend_openDevice(client.backend, direction, id, 1, &format.channels,
                                                         &format.bits, &format.rate, &format.mask);
    };
    EXPECT_EQ(open("no identifier"), ORVO_DEVICE_GUID);
    EXPECT_EQ(open("{12345678-1234-1234-1234-123456789ABC}"),
              direction == ORVO_PLAYBACK ? ORVO_DIRECTSOUNDCREATE8 : ORVO_DIRECTSOUNDCAPTURECREATE8);
    EXPECT_EQ(client.log(ORVO_LOG_ERROR).size(), 2U);
}

TEST_P(Order, ThreeDevicesAtOnce_AllMoveAudioAtTheirRate) {
    const char* const names[][3] = {{"Speaker", "Headset", "PulseAudio"},
                                    {"Monitor of Speaker", "Monitor of Headset", "PulseAudio"}};
    std::vector<Device*> devices;
    for (const char* const each : names[direction - 1]) {
        devices.push_back(&client.device(direction, each));
        ASSERT_EQ(devices.back()->open(), 0) << each;
    }
    for (const Device* each : devices)
        ASSERT_EQ(each->start(), 0);
    for (const Device* each : devices)
        ASSERT_TRUE(each->waitForBlocks(10, kPatience));
    std::vector<std::uint64_t> before;
    before.reserve(devices.size());
    for (const Device* each : devices)
        before.push_back(each->blocks());
    std::this_thread::sleep_for(Milliseconds(2000)); // 100 blocks
    for (std::size_t i = 0; i < devices.size(); ++i) {
        EXPECT_GE(devices[i]->blocks() - before[i], 90U);
        EXPECT_LE(devices[i]->blocks() - before[i], 115U);
    }
    EXPECT_EQ(devices[1]->close(), 0);
    waitForClosed();
    EXPECT_TRUE(devices[0]->waitForBlocks(10, kPatience));
    EXPECT_TRUE(devices[2]->waitForBlocks(10, kPatience));
}

INSTANTIATE_TEST_SUITE_P(Directions, Order, testing::Values(ORVO_PLAYBACK, ORVO_CAPTURE),
                         [](const auto& test) { return test.param == ORVO_PLAYBACK ? "Playback" : "Capture"; });

class BothDirections : public LiveTest {};

TEST_F(BothDirections, ThreeDevicesOfBothDirections_RunTogether) {
    Device* const devices[] = {&client.device(ORVO_PLAYBACK, "Speaker"), &client.device(ORVO_PLAYBACK, "Headset"),
                               &client.device(ORVO_CAPTURE, "Monitor of Speaker")};
    for (Device* device : devices)
        ASSERT_EQ(device->open(), 0);
    for (const Device* device : devices)
        ASSERT_EQ(device->start(), 0);
    for (const Device* device : devices)
        EXPECT_TRUE(device->waitForBlocks(50, kPatience));
}

} // namespace
