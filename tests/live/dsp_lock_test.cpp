#include "client.h"

#include <thread>

namespace {

using namespace live;
using Clock = std::chrono::steady_clock;

constexpr Milliseconds kPatience{3000};
constexpr Milliseconds kAtOnce{300}; // what a busy machine may add to nothing

class DspLock : public LiveTest {
protected:
    void SetUp() override {
        LiveTest::SetUp();
        playback = &client.device(ORVO_PLAYBACK, "Speaker");
        capture = &client.device(ORVO_CAPTURE, "Monitor of Speaker");
        for (Device* device : {playback, capture}) {
            ASSERT_EQ(device->open(), 0);
            ASSERT_EQ(device->start(), 0);
            ASSERT_TRUE(device->waitForBlocks(5, kPatience));
        }
    }
    void lock() { ASSERT_EQ(client.plugin.orvosoundbackend_lockDSP(client.backend), 0); }
    void unlock() { ASSERT_EQ(client.plugin.orvosoundbackend_unlockDSP(client.backend), 0); }

    Device* playback = nullptr;
    Device* capture = nullptr;
};

TEST_F(DspLock, HeldForASecond_KeepsAllCallbacksAwayAndThenTheyGoOn) {
    lock();
    const std::uint64_t played = playback->blocks();
    const std::uint64_t captured = capture->blocks();
    std::this_thread::sleep_for(Milliseconds(1000));
    EXPECT_EQ(playback->blocks(), played);
    EXPECT_EQ(capture->blocks(), captured);
    unlock();
    EXPECT_TRUE(playback->waitForBlocks(25, kPatience));
    EXPECT_TRUE(capture->waitForBlocks(25, kPatience));
}

TEST_F(DspLock, StopAndCloseUnderTheLock_DoNotWaitForIt) {
    lock();
    const auto begin = Clock::now();
    for (const Device* device : {playback, capture}) {
        EXPECT_EQ(device->stop(), 0);
        EXPECT_EQ(device->close(), 0);
    }
    EXPECT_LT(Clock::now() - begin, kAtOnce);
    EXPECT_EQ(client.plugin.orvosoundbackend_waitForClosedDevices(client.backend), 0);
    EXPECT_LT(Clock::now() - begin, Milliseconds(1000)) << "the workers waited for the lock";
    unlock();
}

TEST_F(DspLock, TakenFromARunningCallbacksPointOfView_NeverOverlaps) {
    std::atomic<bool> locked{false};
    std::atomic<int> broken{0};
    Device& headset = client.device(ORVO_PLAYBACK, "Headset");
    headset.callbacks.play = [&](AudioBlock*) {
        std::this_thread::sleep_for(Milliseconds(2));
        broken += locked ? 1 : 0;
        return 0;
    };
    ASSERT_EQ(headset.open(), 0);
    ASSERT_EQ(headset.start(), 0);
    for (int i = 0; i < 100; ++i) {
        lock();
        locked = true;
        std::this_thread::sleep_for(Milliseconds(3));
        locked = false;
        unlock();
        std::this_thread::sleep_for(Milliseconds(7));
    }
    EXPECT_EQ(broken, 0);
    EXPECT_GT(headset.blocks(), 10U);
    EXPECT_EQ(client.finalize(), 0); // before the flags that the callback uses are gone
}

} // namespace
