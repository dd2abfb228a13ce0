// The echo reference that comes with captured blocks.
#include "capture_scenario.h"

#include <cstring>

namespace scenario {

// A capture and a playback device whose cursors move only when the scenario says so. Playback hands a block to its
// queue at start and another one at each 20 ms.
static void runFrozenPair(Simulation& sim, Client& client, Device& microphone, Device& speaker) {
    speaker.freezes();
    runFrozen(sim, client, microphone);
    openAndStart(client, speaker);
    sim.advance(25);
    EXPECT_EQ(client.requestCount, 1u);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
}

static void playUntil(Simulation& sim, Client& client, Device& speaker, std::uint64_t blocks) {
    speaker.jumps(static_cast<int>(20 * (blocks - client.requestCount)));
    sim.advance(25);
    EXPECT_EQ(client.requestCount, blocks);
}

static void captureBlocks(Simulation& sim, Device& microphone, int blocks) {
    move(sim, microphone, 20 * blocks);
}

constexpr std::uint64_t kNone = kNoReference;
using References = std::vector<std::uint64_t>;

// With a queue of cushion + 1 blocks no reference comes; with one more the oldest does.
static void expectDepth(Simulation& sim, Client& client, Device& microphone, Device& speaker, unsigned cushion) {
    runFrozenPair(sim, client, microphone, speaker);
    playUntil(sim, client, speaker, cushion + 1);
    captureBlocks(sim, microphone, 2);
    EXPECT_EQ(referenceNumbers(client), (References{kNone, kNone}));
    playUntil(sim, client, speaker, cushion + 2);
    captureBlocks(sim, microphone, 2);
    EXPECT_EQ(referenceNumbers(client), (References{kNone, kNone, 0, kNone}));
    playUntil(sim, client, speaker, cushion + 4);
    captureBlocks(sim, microphone, 3);
    EXPECT_EQ(referenceNumbers(client), (References{kNone, kNone, 0, kNone, 1, 2, kNone}));
    client.closeAndFinalize({&microphone, &speaker});
}

// A pairing whose mask has so many channels goes with playback of so many channels, block by block.
static void expectMask(Simulation& sim, Client& client, DWORD config, std::uint32_t mask, unsigned channels) {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker").speakers(config).freezes();
    runFrozen(sim, client, microphone);
    EXPECT_EQ(client.open(speaker).channels, channels);
    EXPECT_EQ(client.start(speaker), 0);
    EXPECT_EQ(client.associate(microphone, speaker).mask, mask);
    sim.advance(25);
    playUntil(sim, client, speaker, 8);
    captureBlocks(sim, microphone, 3);
    ASSERT_EQ(client.captured.size(), 3u);
    for (std::uint64_t i = 0; i < 2; ++i) {
        const CapturedBlock& block = client.captured.at(i);
        ASSERT_TRUE(block.hasEcho);
        EXPECT_EQ(block.echoFrames, 960);
        EXPECT_EQ(block.echoAudio.size(), 960u * 2 * channels);
        EXPECT_EQ(firstFrame(block.echoAudio, channels), i * 960);
    }
    EXPECT_FALSE(client.captured.at(2).hasEcho);
    client.closeAndFinalize({&microphone, &speaker});
}

} // namespace scenario

SCENARIO(EchoReference, WithoutPairing_NoneComes, "Without a pairing no captured block brings a reference.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    sim.advance(1000);
    EXPECT_GE(client.captured.size(), 48u);
    for (const CapturedBlock& block : client.captured)
        EXPECT_FALSE(block.hasEcho);
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoReference, PlaybackNotOpen_NoneComesUntilItIs,
         "A pairing with a playback device that is not open brings no reference; it does once the device plays.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    sim.advance(500);
    EXPECT_EQ(client.open(speaker).result, 0); // open, not started
    sim.advance(500);
    for (const CapturedBlock& block : client.captured)
        EXPECT_FALSE(block.hasEcho);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(500);
    EXPECT_TRUE(client.captured.back().hasEcho);
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoReference, Depth_MustExceedTheCushionOfFiveByTwo,
         "A reference comes only when more than six played blocks wait, and it is the oldest of them.") {
    expectDepth(sim, client, sim.capture("Microphone"), sim.playback("Speaker"), 5);
}

SCENARIO(EchoReference, DepthOfEmulatedPlayback_MustExceedTheCushionOfTenByTwo,
         "With an emulated playback device a reference comes only when more than eleven played blocks wait.") {
    expectDepth(sim, client, sim.capture("Microphone"), sim.playback("Speaker").emulated(), 10);
}

SCENARIO(EchoReference, CushionOfTheCaptureDevice_DoesNotCount,
         "An emulated capture device gets its reference at the playback device's depth.") {
    expectDepth(sim, client, sim.capture("Microphone").emulated(), sim.playback("Speaker"), 5);
}

SCENARIO(EchoReference, TooManyPlayedBlocks_TheOldestAreDropped,
         "Playback keeps ten played blocks; a capture that comes later begins with the oldest of those.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    runFrozenPair(sim, client, microphone, speaker);
    playUntil(sim, client, speaker, 25);
    captureBlocks(sim, microphone, 6);
    EXPECT_EQ(referenceNumbers(client), (References{15, 16, 17, 18, kNone, kNone}));
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoReference, LastBlockBeforeAStop_CanStillBeOne,
         "The block that playback has filled while the stop comes is a reference like the others.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    runFrozenPair(sim, client, microphone, speaker);
    playUntil(sim, client, speaker, 6);
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        sim.spend(15);
        return client.fillNumberedBlock(device, block);
    };
    speaker.jumps(20);
    ASSERT_TRUE(sim.advanceUntil([&] { return client.requestCount == 7; }));
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(100);
    captureBlocks(sim, microphone, 2);
    EXPECT_EQ(referenceNumbers(client), (References{0, kNone}));
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoReference, PlayedBlock_BecomesOneInsideTheSectionOnly,
         "As long as playback has to wait for the section of its played blocks, the block that it wrote is none.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    runFrozenPair(sim, client, microphone, speaker);
    playUntil(sim, client, speaker, 6);
    sim.on("EnterCriticalSection").of("S8").onCall(1).takes(200);
    playUntil(sim, client, speaker, 7);
    captureBlocks(sim, microphone, 1);
    EXPECT_EQ(referenceNumbers(client), (References{kNone}));
    sim.advance(200);
    captureBlocks(sim, microphone, 1);
    EXPECT_EQ(referenceNumbers(client), (References{kNone, 0}));
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoReference, Record_HasTheNumberOne,
         "A reference carries the number 1, a zero flag and the playback device's 20 ms of frames.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    int seen = 0;
    client.onCapture = [&](const std::string&, AudioBlock& block, AudioBlock* echo) {
        EXPECT_EQ(block.contextId, 7u);
        if (!echo)
            return;
        ++seen;
        EXPECT_EQ(echo->contextId, 1u);
        EXPECT_EQ(echo->flag, 0);
        EXPECT_EQ(echo->frameCount, 960);
        EXPECT_NE(echo->samples, block.samples);
        std::memset(echo->samples, 0, static_cast<std::size_t>(echo->frameCount) * 4); // it is the client's meanwhile
        *echo = {5, 5, nullptr, 5};
    };
    runFrozenPair(sim, client, microphone, speaker);
    playUntil(sim, client, speaker, 10);
    captureBlocks(sim, microphone, 5);
    EXPECT_EQ(seen, 4);
    EXPECT_TRUE(speaker.checkHeard().garbage() == 0);
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoReference, PlaybackAt44100_BringsItsOwnFrameCount,
         "A reference of a 44.1 kHz playback device has 882 frames beside the 960 that were captured.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker").rates(100, 44100);
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).rate, 44100u);
    EXPECT_EQ(client.start(speaker), 0);
    openAndStart(client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).rate, 44100u);
    sim.advance(500);
    ASSERT_TRUE(client.captured.back().hasEcho);
    EXPECT_EQ(client.captured.back().frames, 960);
    EXPECT_EQ(client.captured.back().echoFrames, 882);
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoReference, OtherChannelCount_IsFreedAndNotSent,
         "A played block with another channel count than the pairing's is used up without being sent.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    runFrozenPair(sim, client, microphone, speaker);
    playUntil(sim, client, speaker, 10);
    EXPECT_EQ(client.associate(microphone, speaker.speakers(6)).mask, 0x3Fu);
    captureBlocks(sim, microphone, 2); // uses up blocks 0 and 1
    EXPECT_EQ(client.associate(microphone, speaker.speakers(4)).mask, 3u);
    captureBlocks(sim, microphone, 1);
    EXPECT_EQ(client.associate(microphone, speaker.speakers(0)).mask, 0u);
    captureBlocks(sim, microphone, 1); // and block 3
    EXPECT_EQ(client.associate(microphone, speaker.speakers(2)).mask, 0x40000000u);
    EXPECT_EQ(client.associate(microphone, speaker.speakers(1)).mask, 0x30000000u);
    playUntil(sim, client, speaker, 11);
    captureBlocks(sim, microphone, 1);
    EXPECT_EQ(referenceNumbers(client), (References{kNone, kNone, 2, kNone, 4}));
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoReference, Headphones_AreTwoChannels, "A pairing with headphones brings references of two channels.") {
    expectMask(sim, client, 1, 0x30000000, 2);
}

SCENARIO(EchoReference, Mono_IsOneChannel, "A pairing with a mono device brings references of one channel.") {
    expectMask(sim, client, 2, 0x40000000, 1);
}

SCENARIO(EchoReference, Surround51_IsSixChannels, "A pairing with a 5.1 device brings references of six channels.") {
    expectMask(sim, client, 6, 0x3F, 6);
}

SCENARIO(EchoReference, DirectOut_NeverComes,
         "A pairing with a device of unknown speakers has no channels, so no reference ever comes.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker").speakers(0);
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    const Associated answer = client.associate(microphone, speaker);
    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.mask, 0u);
    sim.advance(1000);
    EXPECT_GE(client.captured.size(), 48u);
    for (const CapturedBlock& block : client.captured)
        EXPECT_FALSE(block.hasEcho);
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoReference, PairingSwitchedWhileRunning_HoldsFromTheNextBlock,
         "A running capture takes its reference from the new playback device at its very next block.") {
    Device& microphone = sim.capture("Microphone");
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset").freezes();
    runFrozenPair(sim, client, microphone, speaker);
    openAndStart(client, headset);
    speaker.jumps(180);
    headset.jumps(140);
    sim.advance(25);
    captureBlocks(sim, microphone, 2);
    EXPECT_EQ(client.associate(microphone, headset).result, 0);
    captureBlocks(sim, microphone, 1);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    captureBlocks(sim, microphone, 1);
    EXPECT_EQ(client.dissociate(microphone), 0);
    captureBlocks(sim, microphone, 1);
    EXPECT_EQ(referenceNumbers(client), (References{0, 1, 0, 2, kNone}));
    client.closeAndFinalize({&microphone, &speaker, &headset});
}

SCENARIO(EchoReference, IdentifierOpenForCaptureOnly_BringsNone,
         "A pairing whose identifier is open as a capture device only brings no reference.") {
    Device& microphone = sim.capture("Microphone");
    Device& line = sim.capture("Line");
    Device& lineOut = sim.playback("Line out").withGuid(line.guid());
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    openAndStart(client, line, 8);
    EXPECT_EQ(client.associate(microphone, lineOut).result, 0);
    sim.advance(500);
    EXPECT_GE(client.captured.size(), 46u);
    for (const CapturedBlock& block : client.captured)
        EXPECT_FALSE(block.hasEcho);
    openAndStart(client, lineOut, 9);
    sim.advance(500);
    EXPECT_TRUE(std::ranges::any_of(client.captured, [](const CapturedBlock& block) { return block.hasEcho; }));
    EXPECT_EQ(client.close(lineOut, 9), 0);
    EXPECT_EQ(client.close(line, 8), 0);
    client.closeAndFinalize({&microphone});
}
