#include "devices/dsp_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace directsound {
namespace {

using namespace std::chrono_literals;

TEST(DspLock, Free_TakenAtOnce) {
    DspLock lock;
    const Event command = Event::manualReset();
    EXPECT_TRUE(lock.lockUnlessCommanded(command));
    lock.unlock();
}

TEST(DspLock, FreeAndCommanded_StillTaken) {
    DspLock lock;
    const Event command = Event::manualReset();
    command.set();
    EXPECT_TRUE(lock.lockUnlessCommanded(command));
    lock.unlock();
}

TEST(DspLock, Held_TakenOnceReleased) {
    DspLock lock;
    const Event command = Event::manualReset();
    lock.lock();
    std::atomic<bool> released{false};
    std::thread loop([&] {
        EXPECT_TRUE(lock.lockUnlessCommanded(command));
        EXPECT_TRUE(released);
        lock.unlock();
    });
    std::this_thread::sleep_for(50ms);
    released = true;
    lock.unlock();
    loop.join();
}

TEST(DspLock, HeldAndCommanded_GivenUp) {
    DspLock lock;
    const Event command = Event::manualReset();
    lock.lock();
    std::thread loop([&] { EXPECT_FALSE(lock.lockUnlessCommanded(command)); });
    std::this_thread::sleep_for(20ms);
    command.set();
    loop.join(); // while the lock is still held
    lock.unlock();
}

TEST(DspLock, TakenTwiceReleasedTwice_StillOwned) {
    DspLock lock;
    const Event command = Event::manualReset();
    lock.lock();
    lock.lock();
    lock.unlock();
    lock.unlock();
    std::thread loop([&] { EXPECT_FALSE(lock.lockUnlessCommanded(command)); });
    std::this_thread::sleep_for(20ms);
    command.set();
    loop.join();
    // The owner itself gets in and out as before, and lets go of what it owned too much only by leaving twice.
    EXPECT_TRUE(lock.lockUnlessCommanded(command));
    lock.unlock();
}

} // namespace
} // namespace directsound
