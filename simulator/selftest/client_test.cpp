// The simulation around the DLL, and the recording client: each of its findings comes when its promise is broken, and
// none when all is well. The tests break the promises themselves, by calling the callbacks as no plug-in should.
#include "client.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <tuple>

using namespace simulator;

namespace {

using Strings = std::vector<std::string>;

class Wrong {
public:
    Wrong() = default;
    Wrong(const Wrong&) = delete;
    Wrong& operator=(const Wrong&) = delete;

    Simulation sim;
    Client client{sim};
    Device& speaker = sim.playback("Speaker");
    // The same GUID in both directions, as systems have it for a headset.
    Device& microphone = sim.capture("Microphone").withGuid(speaker.guid());

    // Between initialize and finalize.
    Strings problems(const std::function<void()>& body) {
        return sim
            .run([&] {
                client.initialize();
                body();
                if (client.backend)
                    client.finalize();
            })
            .problems;
    }
    void play() {
        AudioBlock block = emptyBlock();
        client.callbacks.getPlaybackData(&client, speaker.id().c_str(), &block);
    }
    void capture() {
        AudioBlock block = emptyBlock();
        client.callbacks.deliverCaptureData(&client, microphone.id().c_str(), &block, nullptr);
    }
    void close(const Device& device) {
        EXPECT_EQ(client.close(device), 0);
        client.waitForClosed();
    }
    [[nodiscard]] std::string of(const char* rest) const { return "audio callback of " + speaker.id() + rest; }

private:
    AudioBlock emptyBlock() { return {7, 0, m_Samples.data(), 0}; }

    std::array<std::int16_t, 2> m_Samples{};
};

} // namespace

TEST(Client, WholeSession_FindsNothing) {
    Wrong w;
    EXPECT_EQ(w.problems([&] {
        EXPECT_EQ(w.client.open(w.speaker).result, 0);
        EXPECT_EQ(w.client.start(w.speaker), 0);
        w.sim.advance(200);
        w.client.lockDsp();
        w.sim.advance(50);
        w.client.unlockDsp();
        w.close(w.speaker);
        EXPECT_EQ(w.client.open(w.speaker).result, 0); // a device may come again
        EXPECT_EQ(w.client.start(w.speaker), 0);
        w.sim.advance(200);
        w.close(w.speaker);
    }),
              Strings{});
    EXPECT_GT(w.client.requestCount, 10u);
}

TEST(Client, TwoAudioCallbacksAtOnce_AreFound) {
    Wrong w;
    w.client.onPlayback = [&](const std::string&, AudioBlock&) {
        w.capture();
        return 0;
    };
    EXPECT_EQ(w.problems([&] { w.play(); }),
              Strings{"two audio callbacks at once: " + w.speaker.id() + " and " + w.microphone.id()});
}

TEST(Client, AudioCallbackUnderTheDspLock_IsFound) {
    Wrong w;
    EXPECT_EQ(w.problems([&] {
        w.client.lockDsp();
        w.play();
        w.client.unlockDsp();
        w.play();
    }),
              Strings{w.of(" while client holds the DSP lock")});
}

TEST(Client, NestedLock_HoldsUntilTheLastUnlock) {
    Wrong w;
    w.sim.allowOwnedSectionAtRemoval(1); // the plug-in's section stays entered
    EXPECT_EQ(w.problems([&] {
        w.client.lockDsp();
        w.client.lockDsp();
        w.client.unlockDsp();
        w.play();
        w.client.unlockDsp();
        EXPECT_FALSE(w.client.insideDspLock());
    }),
              Strings{w.of(" while client holds the DSP lock")});
}

TEST(Client, AudioCallbackUnderAnotherLock_IsFound) {
    Wrong w;
    EXPECT_EQ(w.problems([&] {
        std::array<CRITICAL_SECTION, 2> sections{};
        for (CRITICAL_SECTION& section : sections) {
            w.sim.kernel().initialize(&section);
            w.sim.kernel().enter(&section);
        }
        w.play();
        for (CRITICAL_SECTION& section : sections) {
            w.sim.kernel().leave(&section);
            w.sim.kernel().remove(&section);
        }
        w.play();
    }),
              Strings{w.of(" under another lock than the DSP lock")});
}

TEST(Client, AudioCallbackOfAClosedDevice_IsFoundInItsDirectionOnly) {
    Wrong w;
    EXPECT_EQ(w.problems([&] {
        EXPECT_EQ(w.client.open(w.speaker).result, 0);
        EXPECT_EQ(w.client.open(w.microphone).result, 0);
        w.close(w.speaker);
        w.capture();
        w.play();
        w.close(w.microphone);
    }),
              Strings{w.of(", which is gone")});
}

TEST(Client, CallbacksAfterFinalize_AreFound) {
    Wrong w;
    EXPECT_EQ(
        w.problems([&] {
            EXPECT_EQ(w.client.open(w.speaker).result, 0);
            EXPECT_EQ(w.client.close(w.speaker), 0); // not waited for
            w.client.finalize();
            w.play();
            w.client.callbacks.notifyDeviceChange(&w.client, 1, "", 1);
            w.client.callbacks.logMessage(&w.client, "", "late", 3);
        }),
        (Strings{w.of(", which is gone"), "notifyDeviceChange without a backend", "logMessage without a backend"}));
}

TEST(Client, NotificationUnderALockAndUnknownLevel_AreFound) {
    Wrong w;
    EXPECT_EQ(w.problems([&] {
        w.client.lockDsp();
        w.client.callbacks.notifyDeviceChange(&w.client, 1, "", 1);
        w.client.unlockDsp();
        w.client.callbacks.logMessage(&w.client, "", "odd", 4);
    }),
              (Strings{"notifyDeviceChange under a lock", "logMessage of level 4"}));
}

TEST(Simulation, RuleThatMeetsNoCall_IsAProblem) {
    Wrong w;
    w.sim.on("Secondary.Lock").of("Head set").fails();
    w.sim.on("Secondary.Play").maybe().fails();
    EXPECT_EQ(w.problems([] {}),
              Strings{"a rule met no call, on(\"Secondary.Lock\").of(\"Head set\"): 0 calls came"});
}

TEST(Simulation, UnknownCall_IsRefused) {
    Wrong w;
    EXPECT_EQ(w.problems([&] {
        EXPECT_THROW(w.sim.on("Secondary.lock"), std::invalid_argument);
        EXPECT_THROW(std::ignore = w.sim.count("Lock"), std::invalid_argument);
        EXPECT_THROW(std::ignore = w.sim.calls("initialize"), std::invalid_argument);
        EXPECT_GT(w.sim.count("DirectSoundEnumerateW"), 0u);
    }),
              Strings{});
}

TEST(Simulation, EveryCallThatCame_HasAKnownName) {
    Wrong w;
    EXPECT_EQ(w.problems([&] {
        for (const Device* device : {&w.speaker, &w.microphone}) {
            EXPECT_EQ(w.client.open(*device).result, 0);
            EXPECT_EQ(w.client.start(*device), 0);
            w.sim.advance(100);
            w.close(*device);
        }
    }),
              Strings{});
    EXPECT_GT(w.sim.script().counts().size(), 30u);
    for (const auto& [name, count] : w.sim.script().counts())
        EXPECT_NO_THROW(std::ignore = w.sim.count(name)) << name;
}

TEST(Simulation, DeviceByItsLabel_ComesAndIsTold) {
    Wrong w;
    w.sim.playback("Headset").absent();
    EXPECT_EQ(w.problems([&] {
        w.sim.device("Headset").hotplug();
        EXPECT_TRUE(w.sim.advanceUntil([&] { return !w.client.notifications.empty(); }));
        EXPECT_EQ(w.client.notifications.at(0).device, w.sim.device("Headset").id());
        EXPECT_THROW(w.sim.device("Head set"), std::out_of_range);
    }),
              Strings{});
}
