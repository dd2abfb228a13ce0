// The session's routing: every device has a stream of its own, and one failing device does not keep the others open.
#include "commands/session.h"
#include "fake/fake_backend.h"
#include "platform/system_info.h"
#include "platform/text.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

constexpr const char* kSpeaker = "{11111111-0000-0000-0000-000000000001}";
constexpr const char* kHeadphones = "{11111111-0000-0000-0000-000000000002}";
constexpr const char* kMicrophone = "{22222222-0000-0000-0000-000000000001}";
constexpr const char* kHeadset = "{22222222-0000-0000-0000-000000000002}";

class CountingSource final : public BlockSource {
public:
    explicit CountingSource(std::atomic<int>& gone) : m_gone(gone) {}
    CountingSource(const CountingSource&) = delete;
    CountingSource& operator=(const CountingSource&) = delete;
    ~CountingSource() override { ++m_gone; }
    std::int32_t fill(const AudioBlock& block) override {
        ++m_blocks;
        return block.frameCount;
    }
    int blocks() const { return m_blocks; }

private:
    std::atomic<int>& m_gone;
    std::atomic<int> m_blocks = 0;
};

class CountingSink final : public BlockSink {
public:
    void take(const AudioBlock& captured, const AudioBlock*) override {
        ++m_blocks;
        m_contextId = captured.contextId;
    }
    int blocks() const { return m_blocks; }
    std::uint32_t contextId() const { return m_contextId; }

private:
    std::atomic<int> m_blocks = 0;
    std::atomic<std::uint32_t> m_contextId = 0;
};

template <typename Condition>
bool comesTrue(Condition condition) {
    for (int i = 0; i < 1000 && !condition(); ++i)
        std::this_thread::sleep_for(5ms);
    return condition();
}

class Sessions : public testing::Test {
protected:
    Sessions() : m_fake(LoadLibraryW((programFolder() / "fake_backend.dll").c_str())) {
        SetEnvironmentVariableA("FAKE_BACKEND", nullptr);
        m_options.library = pathText(programFolder() / "fake_backend.dll");
    }
    void TearDown() override {
        SetEnvironmentVariableA("FAKE_BACKEND", nullptr);
        FreeLibrary(m_fake);
    }

    static DeviceEntry entry(const char* id) { return {1, id, id, false}; }
    std::string journal() const {
        return reinterpret_cast<FakeJournal>(reinterpret_cast<void (*)()>(GetProcAddress(m_fake, "fake_journal")))();
    }

    HMODULE m_fake;
    Console m_console;
    Interrupt m_interrupt;
    CommonOptions m_options;
    Document m_document{""};
    std::atomic<int> m_gone = 0; ///< sources that were destroyed
};

TEST_F(Sessions, ManyDevices_EachGetsItsOwnBlocks) {
    Session session({m_console, m_interrupt, m_options, m_document});
    const auto speaker = session.open(ORVO_PLAYBACK, entry(kSpeaker));
    const auto headphones = session.open(ORVO_PLAYBACK, entry(kHeadphones));
    const auto microphone = session.open(ORVO_CAPTURE, entry(kMicrophone));
    const auto headset = session.open(ORVO_CAPTURE, entry(kHeadset));
    const auto& first = session.attach(*speaker, std::make_unique<CountingSource>(m_gone));
    const auto& second = session.attach(*headphones, std::make_unique<CountingSource>(m_gone));
    const auto& third = session.attach(*microphone, std::make_unique<CountingSink>());
    const auto& fourth = session.attach(*headset, std::make_unique<CountingSink>());

    session.start(*headphones);
    session.start(*headset);
    EXPECT_TRUE(comesTrue([&] { return second.blocks() > 3 && fourth.blocks() > 3; }));
    EXPECT_EQ(first.blocks(), 0);
    EXPECT_EQ(third.blocks(), 0);
    session.start(*microphone);
    EXPECT_TRUE(comesTrue([&] { return third.blocks() > 3; }));
    EXPECT_NE(third.contextId(), fourth.contextId());
}

TEST_F(Sessions, SecondStreamForADevice_TakesThePlaceOfTheFirst) {
    Session session({m_console, m_interrupt, m_options, m_document});
    const auto speaker = session.open(ORVO_PLAYBACK, entry(kSpeaker));
    session.attach(*speaker, std::make_unique<CountingSource>(m_gone));
    session.start(*speaker);
    const auto& second = session.attach(*speaker, std::make_unique<CountingSource>(m_gone));
    EXPECT_EQ(m_gone, 1);
    EXPECT_TRUE(comesTrue([&] { return second.blocks() > 3; }));
}

TEST_F(Sessions, DeviceWithoutStream_PlaysSilenceAndIsNotHeard) {
    Session session({m_console, m_interrupt, m_options, m_document});
    const auto speaker = session.open(ORVO_PLAYBACK, entry(kSpeaker));
    const auto microphone = session.open(ORVO_CAPTURE, entry(kMicrophone));
    session.start(*speaker);
    session.start(*microphone);
    std::this_thread::sleep_for(50ms);
    session.shutDown(*microphone);
    session.shutDown(*speaker);
    std::int16_t sample = 0;
    const auto played =
        reinterpret_cast<FakePlayed>(reinterpret_cast<void (*)()>(GetProcAddress(m_fake, "fake_played")));
    EXPECT_EQ(played(&sample, 1), 0U);
}

TEST_F(Sessions, ShutDownOfMany_OneFails_TheOthersAreClosedAll) {
    {
        Session session({m_console, m_interrupt, m_options, m_document});
        std::vector<std::unique_ptr<Device>> devices;
        devices.push_back(session.open(ORVO_PLAYBACK, entry(kSpeaker)));
        devices.push_back(nullptr);
        devices.push_back(session.open(ORVO_CAPTURE, entry(kMicrophone)));
        SetEnvironmentVariableA("FAKE_BACKEND", "stop-fails");
        const std::vector<std::string> failures = session.shutDown(devices);
        ASSERT_EQ(failures.size(), 2U);
        EXPECT_NE(failures[0].find(kSpeaker), std::string::npos);
        EXPECT_NE(failures[1].find(kMicrophone), std::string::npos);
    }
    EXPECT_EQ(journal(), "initialize open-1 open-2 stop-1 stop-2 close-1 close-2 wait wait finalize ");
}

} // namespace
} // namespace soundcheck
