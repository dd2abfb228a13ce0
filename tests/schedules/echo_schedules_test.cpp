// The echo reference: association and look-up of a running capture against opening and closing playback.
#include "scheduled_scenario.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <map>
#include <optional>

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

// Follows the references by what they contain: each playback device plays numbers of its own.
class ReferenceReader {
public:
    explicit ReferenceReader(Client& client) {
        client.onPlayback = [this](const std::string& id, AudioBlock& block) {
            return fill(m_Devices.at(id), block);
        };
        client.onCapture = [this](const std::string&, AudioBlock&, AudioBlock* echo) { read(echo); };
    }

    // Before it plays.
    void add(const Device& device, unsigned channels) {
        m_Devices[device.id()] = {device.label(), channels, m_Devices.size() * kNumbersApart, std::nullopt};
    }
    // Forgets what came.
    void clear() { m_Owners.clear(), m_Wrong = 0; }

    // Labels of the devices that the references belong to, "" for none, block by block.
    [[nodiscard]] const std::vector<std::string>& owners() const { return m_Owners; }
    // References that are not one block of frames with the channels of their device, or that are no later than the
    // one before.
    [[nodiscard]] std::size_t wrong() const { return m_Wrong; }

private:
    static constexpr std::uint64_t kNumbersApart = 1'000ull << 15; // what the second channel carries tells the device

    struct Played {
        std::string label;
        unsigned channels = 0;
        std::uint64_t next = 0;                  // number to play
        std::optional<std::uint64_t> referred{}; // number of the last reference
    };

    static std::span<std::byte> bytesOf(const AudioBlock& block, unsigned channels) {
        return {static_cast<std::byte*>(static_cast<void*>(block.samples)),
                static_cast<std::size_t>(block.frameCount) * channels * sizeof(std::int16_t)};
    }
    static std::int32_t fill(Played& device, const AudioBlock& block) {
        fillNumbered(bytesOf(block, device.channels), device.next, device.channels, 16);
        device.next += static_cast<std::uint64_t>(block.frameCount);
        return block.frameCount;
    }
    void read(const AudioBlock* echo) {
        if (!echo) {
            m_Owners.emplace_back();
            return;
        }
        const std::uint64_t number = firstNumber(bytesOf(*echo, 2));
        for (auto& [id, device] : m_Devices) {
            if (number / kNumbersApart != (device.next - 1) / kNumbersApart)
                continue;
            m_Owners.push_back(device.label);
            NumberedChecker frames(device.channels, 16);
            frames.feed(bytesOf(*echo, device.channels));
            const bool whole = frames.unbroken() && frames.frames() == kFramesPerBlock;
            const bool later = !device.referred || number > *device.referred;
            m_Wrong += whole && later ? 0 : 1;
            device.referred = number;
            return;
        }
        m_Owners.emplace_back("?");
    }

    std::map<std::string, Played> m_Devices; // by identifier
    std::vector<std::string> m_Owners;
    std::size_t m_Wrong = 0;
};

// Past the client, which would from then on take every reference for one of the new device.
void associateUnseen(Simulation& sim, const Client& client, const Device& capture, const Device& playback) {
    std::uint32_t mask = 0, bits = 0, rate = 0, counter = 0;
    EXPECT_EQ(sim.exports().orvosoundbackend_associateAECDevice(
                  client.backend, capture.id().c_str(), playback.id().c_str(), 7, &mask, &bits, &rate, &counter),
              0);
    EXPECT_EQ(std::popcount(mask), 6);
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

ENUMERATED_SCHEDULES(
    EchoSchedules, OtherReferenceUnderARunningCapture_IsTakenWhole,
    "A running capture sees an association with another device, of other channels, as a whole: every "
    "block has a reference, of the old device with its channels or, from then on, of the new one.") {
    ReferenceReader references(client);
    const Device& speaker = sim.playback("Speaker");
    const Device& surround = sim.playback("Surround").speakers(DSSPEAKER_5POINT1);
    const Device& mic = sim.capture("Mic");
    client.initialize();
    references.add(speaker, 2);
    references.add(surround, 6);
    for (const Device* device : {&speaker, &surround, &mic})
        openAndStart(*device);
    EXPECT_EQ(client.associate(mic, speaker).result, 0);
    sim.advance(kQueueFills);
    references.clear();
    fromHereOn();
    untilNextWake();
    untilNextWake();
    atOnce([&] { associateUnseen(sim, client, mic, surround); });
    const std::size_t associated = references.owners().size();
    upToHere();
    sim.advance(100);
    const std::vector<std::string> owners = references.owners();
    ASSERT_GT(owners.size(), associated + 1);
    const auto firstNew = std::ranges::find(owners, "Surround");
    EXPECT_LE(firstNew - owners.begin(), static_cast<std::ptrdiff_t>(associated + 1)) << "one was on its way";
    EXPECT_TRUE(std::all_of(owners.begin(), firstNew, [](const auto& owner) { return owner == "Speaker"; }));
    EXPECT_TRUE(std::all_of(firstNew, owners.end(), [](const auto& owner) { return owner == "Surround"; }));
    EXPECT_EQ(references.wrong(), 0u) << "torn, or out of order";
    client.closeAndFinalize({&speaker, &surround, &mic});
}

ENUMERATED_SCHEDULES(EchoSchedules, AssociationRemovedAndMadeAnew_NeverComesBack,
                     "A running capture sees the removal of an association and the next one, with a device of other "
                     "channels, in this order: a block has a reference of the old device, then none, then one of the "
                     "new device.") {
    ReferenceReader references(client);
    const Device& speaker = sim.playback("Speaker");
    const Device& surround = sim.playback("Surround").speakers(DSSPEAKER_5POINT1);
    const Device& mic = sim.capture("Mic");
    client.initialize();
    references.add(speaker, 2);
    references.add(surround, 6);
    for (const Device* device : {&speaker, &surround, &mic})
        openAndStart(*device);
    EXPECT_EQ(client.associate(mic, speaker).result, 0);
    sim.advance(kQueueFills);
    references.clear();
    fromHereOn();
    untilNextWake();
    atOnce([&] { EXPECT_EQ(client.dissociate(mic), 0); });
    const std::size_t removed = references.owners().size();
    untilNextWake();
    upToHere(); // the orders of an association are tried above
    sim.advance(41);
    const std::size_t without = references.owners().size();
    atOnce([&] { associateUnseen(sim, client, mic, surround); });
    sim.advance(100);
    const std::vector<std::string> owners = references.owners();
    ASSERT_GT(without, removed + 1);
    const auto all = [&owners](std::size_t from, std::size_t to, const std::string& label) {
        return std::all_of(owners.begin() + static_cast<std::ptrdiff_t>(from),
                           owners.begin() + static_cast<std::ptrdiff_t>(to),
                           [&label](const std::string& owner) { return owner == label; });
    };
    // One was on its way each time.
    EXPECT_TRUE(all(removed + (owners[removed] == "Speaker" ? 1 : 0), without, ""));
    EXPECT_TRUE(all(without + 1, owners.size(), "Surround"));
    EXPECT_EQ(references.wrong(), 0u) << "torn, or out of order";
    client.closeAndFinalize({&speaker, &surround, &mic});
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
