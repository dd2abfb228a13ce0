// Whole sessions, too large to be enumerated; and that an order can be repeated.
#include "scheduled_scenario.h"

RANDOM_SCHEDULES(RandomSchedules, BusySession_KeepsItsPromises,
                 "Two devices with the echo between them, the reference closed and opened again and again, the DSP "
                 "lock taken by another thread, a device that comes, and the end: in any order of the threads no "
                 "captured block is lost and every promise holds.") {
    const Device& speaker = sim.playback("Speaker").steps(10);
    const Device& mic = sim.capture("Mic").steps(31.25);
    Device& headset = sim.playback("Headset").absent();
    sim.at(1200, [&] { headset.hotplug(); });
    client.initialize();
    fromHereOn();
    openAndStart(speaker);
    openAndStart(mic);
    EXPECT_EQ(client.associate(mic, speaker).result, 0);
    sim.thread("locker", [&] {
        for (int i = 0; i < 5; ++i) {
            client.lockDsp();
            sim.advance(30);
            client.unlockDsp();
            sim.advance(40);
        }
    });
    for (std::uint32_t i = 0; i < 5; ++i) {
        sim.advance(90);
        EXPECT_EQ(client.close(speaker, 7 + i), 0);
        openAndStart(speaker, 8 + i);
    }
    sim.advance(2500);
    EXPECT_EQ(client.close(speaker, 12), 0);
    client.closeAndFinalize({&mic});
    EXPECT_TRUE(client.checkCaptured(mic).unbroken());
    EXPECT_EQ(client.notifications.size(), 2u);
}

RANDOM_SCHEDULES(RandomSchedules, DevicesOpenedAndClosedAgain_AreGoneAfterEveryWait,
                 "Two running devices that are opened, closed and waited for again and again are gone after every "
                 "wait, in any order of the threads.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& mic = sim.capture("Mic");
    client.initialize();
    fromHereOn();
    for (int i = 0; i < 3; ++i) {
        openAndStart(speaker);
        openAndStart(mic);
        sim.advance(30);
        client.lockDsp();
        client.unlockDsp();
        if (i > 0) {
            stopAtOnce(speaker);
            stopAtOnce(mic);
        }
        atOnce([&] {
            EXPECT_EQ(client.stop(speaker), 0); // the first time with the close on its heels
            EXPECT_EQ(client.close(speaker), 0);
            EXPECT_EQ(client.close(mic), 0);
            EXPECT_EQ(client.waitForClosed(), 0);
        });
        EXPECT_TRUE(sim.sound().living(speaker).empty());
        EXPECT_TRUE(sim.sound().living(mic).empty());
    }
    client.finalize();
}

namespace schedules {

class SeededSession : public ScheduledScenario {
public:
    Report runWith(std::uint64_t seed) {
        sim.keepWholeTrace();
        sim.randomSchedule(seed);
        return sim.run([this] { play(); });
    }

private:
    void play() override {
        const Device& speaker = sim.playback("Speaker");
        const Device& mic = sim.capture("Mic");
        client.initialize();
        openAndStart(speaker);
        openAndStart(mic);
        sim.advance(500);
        client.closeAndFinalize({&speaker, &mic});
    }
};

} // namespace schedules

TEST(RandomSchedules, SameSeed_SameTraceByteForByte) {
    const simulator::Report first = schedules::SeededSession().runWith(4711);
    const simulator::Report second = schedules::SeededSession().runWith(4711);
    EXPECT_GT(first.trace.size(), 10'000u);
    EXPECT_EQ(first.trace, second.trace);
    EXPECT_EQ(first.checksum, second.checksum);
    EXPECT_NE(first.checksum, schedules::SeededSession().runWith(4712).checksum);
}
