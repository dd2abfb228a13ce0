#include "client.h"
#include "known_signal.h"

#include <optional>

namespace {

using namespace live;

constexpr Milliseconds kPatience{5000};
constexpr std::uint64_t kHeadsetFrames = 1ULL << 40; // its signal is a later part of the same one

struct EchoFormat {
    std::uint32_t mask = 0;
    std::uint32_t bits = 0;
    std::uint32_t rate = 0;
    std::uint32_t counter = 0;
};

class Association : public LiveTest {
protected:
    void SetUp() override {
        LiveTest::SetUp();
        capture = &client.device(ORVO_CAPTURE, "Monitor of Speaker");
        capture->callbacks.capture = [this](const AudioBlock*, const AudioBlock* echo) { receive(echo); };
        speaker = &client.device(ORVO_PLAYBACK, "Speaker");
        headset = &client.device(ORVO_PLAYBACK, "Headset");
        play(*speaker, 0);
        play(*headset, kHeadsetFrames);
        for (Device* device : {capture, speaker, headset})
            ASSERT_EQ(device->open(), 0);
        for (const Device* device : {speaker, headset, capture})
            ASSERT_EQ(device->start(), 0);
    }

    void TearDown() override {
        EXPECT_EQ(client.finalize(), 0); // before the counters that the callbacks use are gone
        LiveTest::TearDown();
    }

    BackendResult associate(const char* playbackId, EchoFormat& format) {
        return client.plugin.orvosoundbackend_associateAECDevice(client.backend, capture->id.c_str(), playbackId,
                                                                 capture->contextId, &format.mask, &format.bits,
                                                                 &format.rate, &format.counter);
    }

    static void play(Device& device, std::uint64_t first) {
        device.callbacks.play = [next = first](AudioBlock* block) mutable {
            writeSignal(block->samples, next, static_cast<std::size_t>(block->frameCount), 2);
            next += static_cast<std::uint64_t>(block->frameCount);
            return block->frameCount;
        };
    }

    /// Which frame of a signal the block begins with, found by its first frames.
    static std::optional<std::uint64_t> firstFrame(const AudioBlock& echo, std::uint64_t from) {
        for (std::uint64_t block = 0; block < 3000; ++block) {
            const std::uint64_t frame = from + block * 960;
            if (echo.samples[0] == signalSample(frame, 0) && echo.samples[1] == signalSample(frame, 1))
                return frame;
        }
        return std::nullopt;
    }

    void receive(const AudioBlock* echo) {
        if (echo == nullptr) {
            ++without;
            return;
        }
        bool same = echo->contextId == 1 && echo->frameCount == 960;
        const auto ofSpeaker = firstFrame(*echo, 0);
        const auto first = ofSpeaker ? ofSpeaker : firstFrame(*echo, kHeadsetFrames);
        if (!first) {
            ++unknown;
            return;
        }
        for (int i = 0; same && i < echo->frameCount * 2; ++i)
            same = echo->samples[i] == signalSample(*first + static_cast<std::uint64_t>(i / 2), i % 2 != 0);
        unknown += same ? 0 : 1;
        ++(ofSpeaker ? fromSpeaker : fromHeadset);
    }

    static bool grows(const std::atomic<int>& counter, int by) {
        const int before = counter;
        return waitUntil([&] { return counter >= before + by; }, kPatience);
    }

    Device* capture = nullptr;
    Device* speaker = nullptr;
    Device* headset = nullptr;
    std::atomic<int> fromSpeaker{0};
    std::atomic<int> fromHeadset{0};
    std::atomic<int> without{0};
    std::atomic<int> unknown{0};
};

TEST_F(Association, SwitchedWhileRunning_TheReferenceFollows) {
    ASSERT_TRUE(grows(without, 10));
    EXPECT_EQ(fromSpeaker + fromHeadset, 0) << "a reference came without an association";

    EchoFormat format;
    ASSERT_EQ(associate(speaker->id.c_str(), format), 0);
    EXPECT_EQ(format.mask, 3U);
    EXPECT_EQ(format.bits, 16U);
    EXPECT_EQ(format.rate, 48000U);
    ASSERT_TRUE(grows(fromSpeaker, 50));
    EXPECT_EQ(fromHeadset, 0);

    const std::uint32_t counter = format.counter;
    ASSERT_EQ(associate(headset->id.c_str(), format), 0);
    EXPECT_EQ(format.counter, counter + 1);
    ASSERT_TRUE(grows(fromHeadset, 2)); // the switch happens at the next block
    const int speakersLast = fromSpeaker;
    ASSERT_TRUE(grows(fromHeadset, 50));
    EXPECT_EQ(fromSpeaker, speakersLast);

    EXPECT_EQ(client.plugin.orvosoundbackend_associateAECDevice(client.backend, capture->id.c_str(), nullptr,
                                                                capture->contextId, nullptr, nullptr, nullptr,
                                                                nullptr),
              0);
    ASSERT_TRUE(grows(without, 2));
    const int last = fromSpeaker + fromHeadset;
    ASSERT_TRUE(grows(without, 25));
    EXPECT_EQ(fromSpeaker + fromHeadset, last);
    EXPECT_EQ(unknown, 0) << "a reference block that was never played";
}

TEST_F(Association, ReferenceDeviceClosedAndReopened_TheReferenceComesBack) {
    EchoFormat format;
    ASSERT_EQ(associate(speaker->id.c_str(), format), 0);
    ASSERT_TRUE(grows(fromSpeaker, 10));
    ASSERT_EQ(speaker->close(), 0);
    ASSERT_TRUE(grows(without, 10));

    Device& again = client.device(ORVO_PLAYBACK, "Speaker");
    play(again, 0);
    ASSERT_EQ(again.open(), 0);
    ASSERT_EQ(again.start(), 0);
    EXPECT_TRUE(grows(fromSpeaker, 10));
    EXPECT_EQ(unknown, 0);
}

TEST_F(Association, FailedAssociation_LeavesThePreviousOne) {
    errorsExpected = true;
    EchoFormat format;
    ASSERT_EQ(associate(speaker->id.c_str(), format), 0);
    ASSERT_TRUE(grows(fromSpeaker, 5));
    EXPECT_EQ(associate("no identifier", format), ORVO_DEVICE_GUID);
    EXPECT_EQ(associate("{12345678-1234-1234-1234-123456789ABC}", format), ORVO_DIRECTSOUNDCREATE8);
    EXPECT_TRUE(grows(fromSpeaker, 20));
}

} // namespace
