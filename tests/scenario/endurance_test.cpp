// Hours of audio in seconds. ENDURANCE_HOURS in the environment makes them more.
#include "capture_scenario.h"
#include "followed_streams.h"

#include <chrono>
#include <cstdlib>
#include <random>

namespace scenario {
namespace {

constexpr double kPlaybackDrift = 60; // parts per million
constexpr double kCaptureDrift = -40;
constexpr double kMinute = 60'000;
constexpr std::uint64_t kNumbers = 1ull << 30;            // of stereo frames, before they begin anew
constexpr std::uint64_t kCushionBlocks = 5;               // of silence, ahead of the first block
constexpr std::uint64_t kQueueDepth = kCushionBlocks + 1; // played blocks that are kept back from the reference
constexpr std::uint64_t kQueueLimit = kCushionBlocks + 5;
constexpr double kStepFrames = 480;        // in which the cursor of the playback device moves
constexpr double kWaitingFrames = 2 * 960; // that a capture loop has not fetched when it ends
constexpr std::size_t kPlayedBlocks = 50;  // that wait to become references, with their records
constexpr double kRound = 5 * kMinute;     // the headset comes and goes in each

double hours() {
    const char* wanted = std::getenv("ENDURANCE_HOURS");
    return wanted ? std::strtod(wanted, nullptr) : 1;
}

// Most waits end a little late, some by much, but within what the cushions of both loops bear.
std::function<Nanoseconds(Nanoseconds)> lateWakes() {
    return [random = std::mt19937(20)](Nanoseconds exact) mutable {
        const unsigned dice = random() % 1000;
        const unsigned late = dice == 0 ? random() % 50 : dice < 30 ? random() % 15 : random() % 2;
        return exact + late * kMillisecond;
    };
}

// Frames that a device of this drift has moved in so much time.
double framesIn(double milliseconds, double drift) {
    return milliseconds * 48 * (1 + drift * 1e-6);
}

// A device that comes, plays for a minute and is pulled out under way, once in a round.
class Visitor {
public:
    Visitor(Simulation& sim, Client& client, Device& device) : m_Sim(sim), m_Client(client), m_Device(device) {}

    void visit() {
        m_Device.hotplug().thaws();
        m_Sim.advance(2500);
        openAndStart(m_Client, m_Device);
        NumberedChecker heard(2, 16);
        m_Device.heard.listener = [&heard](std::span<const std::byte> piece) { heard.feed(piece); };
        m_Sim.advance(kMinute);
        m_Device.unplug();
        m_Sim.advance(2500);
        EXPECT_EQ(m_Client.close(m_Device), 0);
        EXPECT_EQ(m_Client.waitForClosed(), 0);
        m_Device.heard.listener = nullptr;
        EXPECT_TRUE(heard.unbroken()) << "visit " << m_Visits;
        EXPECT_GT(static_cast<double>(heard.frames()), framesIn(kMinute - 500, 0));
        m_Frames += heard.frames();
        ++m_Visits;
    }
    [[nodiscard]] std::size_t visits() const { return m_Visits; }
    [[nodiscard]] std::uint64_t frames() const { return m_Frames; }

private:
    Simulation& m_Sim;
    Client& m_Client;
    Device& m_Device;
    std::size_t m_Visits = 0;
    std::uint64_t m_Frames = 0;
};

std::span<const std::byte> bytesOf(const AudioBlock& block) {
    constexpr std::size_t kFrameBytes = 4;
    return {static_cast<const std::byte*>(static_cast<const void*>(block.samples)),
            static_cast<std::size_t>(block.frameCount) * kFrameBytes};
}

} // namespace
} // namespace scenario

SCENARIO(
    Endurance, HoursOfPlaybackCaptureAndEcho_EveryBlockInOrder,
    "Over hours of playback and capture with echo, with clocks that drift apart, late wake-ups and a device that "
    "comes and is pulled out again and again, no block of either stream is lost, repeated or out of order, and "
    "the echo reference leaves out only what drift and lateness make too much.") {
    const auto begin = std::chrono::steady_clock::now();
    sim.plainHeap();
    sim.scheduler().setLateness(lateWakes());
    Device& speaker = sim.playback("Speaker").steps(10).cursorLead(10).drifts(kPlaybackDrift);
    Device& mic = sim.capture("Mic").drifts(kCaptureDrift);
    Device& headset = sim.playback("Headset").absent();
    StreamFollower heard;
    StreamFollower captured;
    ReferenceFollower references(kFramesPerBlock);
    std::uint64_t played = 0;                         // frames that the client gave
    std::uint64_t nearest = UINT64_MAX, farthest = 0; // frames from the begin of a reference to the last one given
    for (Device* device : {&speaker, &headset})
        device->heard.keep = 0;
    speaker.heard.listener = [&](std::span<const std::byte> piece) { heard.feed(piece); };
    client.keepBlocks = false;
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        played += device == speaker.id() ? static_cast<std::uint64_t>(block.frameCount) : 0;
        return client.fillNumberedBlock(device, block);
    };
    client.onCapture = [&](const std::string&, AudioBlock& block, AudioBlock* echo) {
        captured.feed(bytesOf(block));
        if (!echo)
            return references.feedNone();
        references.feed(bytesOf(*echo));
        const std::uint64_t behind = (played - firstNumber(bytesOf(*echo))) % kNumbers;
        nearest = std::min(nearest, behind);
        farthest = std::max(farthest, behind);
    };

    client.initialize();
    openAndStart(client, speaker);
    openAndStart(client, mic);
    EXPECT_EQ(client.associate(mic, speaker).result, 0);
    const double started = sim.now();
    Visitor visitor(sim, client, headset);
    const auto rounds = static_cast<std::size_t>(hours() * 60 * kMinute / kRound);
    ASSERT_GE(rounds, 1u);
    const std::size_t living = sim.heap().liveBlocks();
    for (std::size_t round = 1; round <= rounds; ++round) {
        visitor.visit();
        sim.advance(started + static_cast<double>(round) * kRound - sim.now());
        EXPECT_LT(sim.heap().liveBlocks(), living + kPlayedBlocks) << "memory grows";
    }
    const double lasted = sim.now() - started;
    client.closeAndFinalize({&speaker, &mic});

    const NumberedChecker& out = heard.frames();
    EXPECT_TRUE(out.unbroken()) << out.breaks() << " breaks, " << out.silence() << " frames of silence";
    EXPECT_EQ(heard.first(), 0u);
    EXPECT_EQ(out.leadIn(), kCushionBlocks * kFramesPerBlock);
    EXPECT_NEAR(static_cast<double>(out.leadIn() + out.frames()), framesIn(lasted, kPlaybackDrift), kStepFrames);
    const NumberedChecker& in = captured.frames();
    EXPECT_TRUE(in.unbroken()) << in.breaks() << " breaks, " << in.silence() << " silent frames";
    EXPECT_EQ(captured.first(), 0u);
    EXPECT_EQ(in.leadIn(), 0u);
    EXPECT_NEAR(static_cast<double>(in.frames()), framesIn(lasted, kCaptureDrift), kWaitingFrames);
    EXPECT_EQ(references.disorder(), 0u);
    // What one clock plays more than the other captures must be left out; so must what was still missing when a late
    // playback was waited for.
    const double surplus = (framesIn(lasted, kPlaybackDrift) - framesIn(lasted, kCaptureDrift)) / kFramesPerBlock;
    EXPECT_NEAR(static_cast<double>(references.leftOut()), surplus + static_cast<double>(references.missing()), 6);
    EXPECT_LT(references.missing(), references.blocks() / 1000);
    EXPECT_LE(references.before(), kQueueDepth) << "the first reference is late";
    EXPECT_EQ((references.blocks() + references.missing() + references.before()) * kFramesPerBlock, in.frames());
    EXPECT_EQ(nearest, (kQueueDepth + 1) * kFramesPerBlock);
    EXPECT_LE(farthest, kQueueLimit * kFramesPerBlock) << "a reference is late";
    EXPECT_EQ(client.notifications.size(), visitor.visits() * 4) << "added and removed, with the states";
    const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("tally: %.0f simulated seconds in %.1f s: %.0f per second; %llu blocks played, %llu captured, %llu "
                "with reference, %llu left out of it, %llu without\n",
                lasted / 1000, took, lasted / 1000 / took,
                static_cast<unsigned long long>((out.frames() + visitor.frames()) / kFramesPerBlock),
                static_cast<unsigned long long>(in.frames() / kFramesPerBlock),
                static_cast<unsigned long long>(references.blocks()),
                static_cast<unsigned long long>(references.leftOut()),
                static_cast<unsigned long long>(references.missing()));
}
