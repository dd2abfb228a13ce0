// The client library against the fake plug-in: what a client developer copies must keep the plug-in's order.
#include "client/backend.h"
#include "client/device.h"
#include "platform/system_info.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

class Counter final : public BackendListener {
public:
    std::int32_t fillPlayback(std::string_view, const AudioBlock& block) override {
        ++m_blocks;
        if (m_throwing)
            throw std::runtime_error("out of sorts");
        return block.frameCount;
    }
    int blocks() const { return m_blocks; }
    void throwFromNowOn() { m_throwing = true; }

private:
    std::atomic<int> m_blocks = 0;
    std::atomic<bool> m_throwing = false;
};

class Client : public testing::Test {
protected:
    Client() { SetEnvironmentVariableA("FAKE_BACKEND", nullptr); }
    void waitForBlocks(int count) const {
        for (int i = 0; i < 1000 && m_listener.blocks() < count; ++i)
            std::this_thread::sleep_for(5ms);
        ASSERT_GE(m_listener.blocks(), count);
    }
    Library m_library{programFolder() / "fake_backend.dll"};
    Counter m_listener;
    Backend m_backend{m_library, m_listener};
};

TEST_F(Client, Device_ReportsItsFormat) {
    const Device device(m_backend, ORVO_PLAYBACK, *m_backend.defaultDevice(ORVO_PLAYBACK));
    EXPECT_EQ(device.format().framesPerBlock(), 960U);
    EXPECT_EQ(device.format().bytesPerBlock(), 3840U);
}

TEST_F(Client, DspLockGuard_NoCallbackWhileItLives) {
    Device device(m_backend, ORVO_PLAYBACK, *m_backend.defaultDevice(ORVO_PLAYBACK));
    device.start();
    waitForBlocks(3);
    {
        const DspLockGuard quiet(m_backend);
        const int before = m_listener.blocks();
        std::this_thread::sleep_for(100ms);
        EXPECT_EQ(m_listener.blocks(), before);
    }
    waitForBlocks(m_listener.blocks() + 3);
}

TEST_F(Client, ListenerThrows_PluginDoesNotNotice) {
    Device device(m_backend, ORVO_PLAYBACK, *m_backend.defaultDevice(ORVO_PLAYBACK));
    m_listener.throwFromNowOn();
    device.start();
    waitForBlocks(3);
}

TEST_F(Client, Failure_CarriesTheCode) {
    SetEnvironmentVariableA("FAKE_BACKEND", "open-fails");
    try {
        const Device device(m_backend, ORVO_PLAYBACK, "{}");
        FAIL();
    } catch (const BackendError& error) {
        EXPECT_EQ(error.code(), ORVO_DIRECTSOUNDCREATE8);
    }
}

TEST_F(Client, Close_Twice_IsHarmless) {
    Device device(m_backend, ORVO_CAPTURE, *m_backend.defaultDevice(ORVO_CAPTURE));
    device.close();
    EXPECT_NO_THROW(device.close());
}

} // namespace
} // namespace soundcheck
