// The echo reference: association and look-up of a running capture against opening and closing playback.
#include "scheduled_scenario.h"

#include <algorithm>
#include <functional>

namespace schedules {
namespace {

constexpr double kQueueFills = 340; // until the played blocks are deep enough for a reference

// The first frames of the references that came, by their numbers since the begin of playback.
std::vector<std::uint64_t> references(const Client& client) {
    std::vector<std::uint64_t> numbers;
    for (const CapturedBlock& block : client.captured) {
        if (block.hasEcho)
            numbers.push_back(firstNumber(block.echoAudio));
    }
    return numbers;
}

bool ascending(const std::vector<std::uint64_t>& numbers) {
    return std::ranges::adjacent_find(numbers, std::ranges::greater_equal()) == numbers.end();
}

} // namespace
} // namespace schedules

ENUMERATED_SCHEDULES(EchoSchedules, PlaybackClosedAtTheLookUp_NothingFreedIsTouched,
                     "A playback device that is closed while a capture looks its played blocks up is never touched "
                     "after it is gone, and the references that came are in order.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& mic = sim.capture("Mic");
    client.initialize();
    openAndStart(speaker);
    openAndStart(mic);
    EXPECT_EQ(client.associate(mic, speaker).result, 0);
    sim.advance(kQueueFills);
    EXPECT_FALSE(references(client).empty());
    fromHereOn();
    untilNextWake();
    untilNextWake();
    atOnce([&] {
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
    });
    upToHere();
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    sim.advance(100);
    EXPECT_FALSE(client.captured.back().hasEcho);
    EXPECT_TRUE(ascending(references(client)));
    EXPECT_TRUE(client.checkCaptured(mic).unbroken());
    client.closeAndFinalize({&mic});
}

ENUMERATED_SCHEDULES(EchoSchedules, AssociationUnderARunningCapture_IsTakenWhole,
                     "A running capture sees an association, its removal and the next one as a whole: every block "
                     "has a reference of the right device or none.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& mic = sim.capture("Mic");
    client.initialize();
    openAndStart(speaker);
    openAndStart(mic);
    EXPECT_EQ(client.associate(mic, speaker).result, 0); // the client knows the format from now on
    EXPECT_EQ(client.dissociate(mic), 0);
    sim.advance(kQueueFills);
    fromHereOn();
    untilNextWake();
    untilNextWake();
    atOnce([&] {
        EXPECT_EQ(client.associate(mic, speaker).result, 0);
        EXPECT_EQ(client.dissociate(mic), 0);
        EXPECT_EQ(client.associate(mic, speaker).result, 0);
    });
    upToHere();
    sim.advance(100);
    EXPECT_TRUE(client.captured.back().hasEcho);
    EXPECT_TRUE(ascending(references(client)));
    EXPECT_TRUE(client.checkCaptured(mic).unbroken());
    client.closeAndFinalize({&speaker, &mic});
}

ENUMERATED_SCHEDULES(
    EchoSchedules, PlaybackReopenedAtTheLookUp_NewBlocksBelongToTheNewOne,
    "A reference device that is closed and opened again while a capture looks it up gives references "
    "of its new life only.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& mic = sim.capture("Mic");
    client.initialize();
    openAndStart(speaker);
    openAndStart(mic);
    EXPECT_EQ(client.associate(mic, speaker).result, 0);
    sim.advance(kQueueFills);
    fromHereOn();
    untilNextWake();
    EXPECT_EQ(client.close(speaker), 0);
    upToHere(); // all the orders of an open are tried elsewhere
    atOnce([&] { EXPECT_EQ(client.open(speaker, 8).result, 0); });
    EXPECT_EQ(client.start(speaker, 8), 0);
    const std::uint64_t newLife = client.requests.size() * kFramesPerBlock;
    const std::size_t oldReferences = references(client).size();
    sim.advance(kQueueFills);
    const std::vector<std::uint64_t> numbers = references(client);
    ASSERT_GT(numbers.size(), oldReferences);
    EXPECT_GE(numbers[oldReferences], newLife - kFramesPerBlock);
    EXPECT_TRUE(ascending(numbers));
    client.close(speaker, 8);
    client.closeAndFinalize({&mic});
}
