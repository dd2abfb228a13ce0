// The promises hold whatever the order in which the threads run; and an order can be repeated.
#include "client.h"
#include "simulation.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace simulator;

namespace {

// SIMULATOR_SEEDS in the environment widens the search.
std::uint64_t seeds() {
    constexpr std::uint64_t kUsual = 25;
    const char* wanted = std::getenv("SIMULATOR_SEEDS");
    return wanted ? std::strtoull(wanted, nullptr, 10) : kUsual;
}

// Two devices and the echo between them, the reference closed and opened under the running capture, the DSP lock
// taken by another thread, a device that comes, and the end.
Report busySession(std::uint64_t seed) {
    Simulation sim;
    sim.keepWholeTrace();
    sim.randomSchedule(seed);
    Client client(sim);
    Device& speaker = sim.playback("Speaker").steps(10);
    Device& mic = sim.capture("Mic").steps(31.25);
    Device& headset = sim.playback("Headset").absent();
    sim.at(1200, [&] { headset.hotplug(); });
    return sim.run([&] {
        EXPECT_EQ(client.initialize(), 0);
        for (Device* device : {&speaker, &mic}) {
            EXPECT_EQ(client.open(*device).result, 0);
            EXPECT_EQ(client.start(*device), 0);
        }
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
            EXPECT_EQ(client.open(speaker, 8 + i).result, 0);
            EXPECT_EQ(client.start(speaker, 8 + i), 0);
        }
        sim.advance(2500);
        EXPECT_EQ(client.close(speaker, 12), 0);
        client.closeAndFinalize({&mic});
        EXPECT_TRUE(client.checkCaptured(mic).unbroken());
        EXPECT_EQ(client.notifications.size(), 2u);
    });
}

} // namespace

TEST(Schedules, SameSeed_SameTraceByteForByte) {
    const Report first = busySession(4711);
    const Report second = busySession(4711);
    EXPECT_EQ(first.trace, second.trace);
    EXPECT_EQ(first.checksum, second.checksum);
    EXPECT_NE(first.checksum, busySession(4712).checksum);
}

TEST(Schedules, BusySession_KeepsItsPromisesUnderRandomOrders) {
    for (std::uint64_t seed = 1; seed <= seeds(); ++seed) {
        const Report report = busySession(seed);
        ASSERT_TRUE(report.problems.empty()) << report.text().substr(0, 4000);
        ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed;
    }
    std::printf("%llu schedules tried\n", static_cast<unsigned long long>(seeds()));
}
