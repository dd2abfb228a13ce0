// Which blocks the playback loop writes, when, and what it asks the client.
#include "render_support.h"

#include <set>

using namespace scenario::render;

SCENARIO(
    RenderBlocks, CursorInTheFirstBlock_HasBlock5WrittenOnly,
    "While the write cursor is in block 0 only block 5 is written; block 6 follows when it enters block 1, not a "
    "millisecond earlier.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(500);
    EXPECT_EQ(writtenBlocks(sim), std::vector<DWORD>{5});
    speaker.jumps(19);
    sim.advance(500);
    EXPECT_EQ(writtenBlocks(sim), std::vector<DWORD>{5});
    speaker.jumps(1);
    sim.advance(500);
    EXPECT_EQ(writtenBlocks(sim), (std::vector<DWORD>{5, 6}));
    speaker.jumps(20);
    sim.advance(500);
    EXPECT_EQ(writtenBlocks(sim), (std::vector<DWORD>{5, 6, 7}));
    EXPECT_EQ(client.requests.size(), 3u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderBlocks, EmulatedDriver_BeginsWithBlock10,
    "On an emulated driver block 10 is the first one written, and block 11 follows when the cursor enters block 1.") {
    Device& speaker = sim.playback("Speaker").emulated().freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(500);
    EXPECT_EQ(writtenBlocks(sim), std::vector<DWORD>{10});
    speaker.jumps(20);
    sim.advance(500);
    EXPECT_EQ(writtenBlocks(sim), (std::vector<DWORD>{10, 11}));
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderBlocks, WriteCursor_CountsNotThePlayCursor,
         "The cushion is counted from the block that holds the write cursor, not the play cursor.") {
    Device& speaker = sim.playback("Speaker").freezes().cursorLead(45);
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(500);
    EXPECT_EQ(writtenBlocks(sim), (std::vector<DWORD>{5, 6, 7}));
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderBlocks, Blocks_AreWrittenInOrderAroundTheEnd,
         "Blocks are written one after the other, block 0 after block 49, each whole and with no flags.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(3000);
    client.closeAndFinalize({&speaker});
    const std::vector<CallRecord> locks = sim.calls("Secondary.Lock");
    ASSERT_GT(locks.size(), 150u);
    for (std::size_t i = 1; i < locks.size(); ++i)
        EXPECT_EQ(locks[i].arguments, std::to_string((i + 4) % 50 * kBlockBytes) + " 3840 flags 0");
    EXPECT_TRUE(speaker.checkHeard().unbroken());
}

SCENARIO(RenderBlocks, CursorThatJumpsAhead_IsCaughtUpWithInOnePass,
         "When the cursor jumps ahead by ten blocks ten blocks are written at once.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    speaker.jumps(200);
    sim.advance(100);
    EXPECT_EQ(writtenBlocks(sim), (std::vector<DWORD>{5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));
    EXPECT_EQ(client.requests.at(1).time, client.requests.at(10).time);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderBlocks, CursorThatJumpsBack_IsReachedAroundTheBuffer,
         "When the cursor jumps back by two blocks the loop goes on forward around the whole buffer until it stands "
         "before the new target.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    speaker.jumps(60);
    sim.advance(100);
    EXPECT_EQ(writtenBlocks(sim), (std::vector<DWORD>{5, 6, 7, 8}));
    speaker.jumps(-40);
    sim.advance(100);
    const std::vector<DWORD> blocks = writtenBlocks(sim);
    ASSERT_EQ(blocks.size(), 4u + 48u);
    EXPECT_EQ(blocks[4], 9u);
    EXPECT_EQ(blocks.back(), 6u);
    sim.advance(500);
    EXPECT_EQ(writtenBlocks(sim).size(), 52u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderBlocks, CursorThatMovesDuringAPass_MovesTheTarget,
    "After every block the cursor is read anew, so blocks that fall due meanwhile are written in the same pass.") {
    Device& speaker = sim.playback("Speaker");
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        if (client.requestCount == 1)
            sim.spend(60); // the cursor enters block 3
        return client.fillNumberedBlock(device, block);
    };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(61);
    EXPECT_EQ(writtenBlocks(sim), (std::vector<DWORD>{5, 6, 7, 8}));
    const auto times = sim.calls("Secondary.GetCurrentPosition");
    ASSERT_EQ(times.size(), 5u) << "one before the pass and one after each block";
    EXPECT_EQ(times[1].time, times[4].time);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderBlocks, Request_IsOneBlockOfThisDevice,
         "A request carries the context's number, flag 0, room for 20 ms of frames rounded down, and the device's "
         "identifier, and comes on the device's worker.") {
    struct Case {
        DWORD rate;
        std::int32_t frames;
    };
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 4'000'000'000u;
    for (const Case c : {Case{48000, 960}, Case{44100, 882}, Case{22050, 441}, Case{11025, 220}, Case{8000, 160}}) {
        client.requests.clear();
        Device& speaker = sim.playback("Speaker " + std::to_string(c.rate));
        speaker.primaryKeeps({2, c.rate, 16, std::nullopt});
        EXPECT_EQ(client.open(speaker, contextId).result, 0);
        EXPECT_EQ(client.start(speaker, contextId), 0);
        sim.advance(205);
        ASSERT_GE(client.requests.size(), 10u);
        for (const PlaybackRequest& request : client.requests) {
            EXPECT_EQ(request.contextId, contextId);
            EXPECT_EQ(request.flag, 0);
            EXPECT_EQ(request.frames, c.frames);
            EXPECT_EQ(request.device, speaker.id());
            EXPECT_EQ(request.thread, client.requests[0].thread);
            EXPECT_NE(request.thread, "client");
        }
        EXPECT_EQ(client.close(speaker, contextId++), 0);
        client.waitForClosed();
        EXPECT_TRUE(speaker.checkHeard().unbroken()) << c.rate;
    }
    client.finalize();
}

SCENARIO(
    RenderBlocks, Wait_IsTheTimeIntoTheBlockPlusOne,
    "The wait between passes is one millisecond longer than the write cursor is into its block, rounded down, and "
    "21 ms on a boundary.") {
    struct Case {
        double lead;
        DWORD rate;
        std::string wait;
    };
    const std::vector<Case> cases = {
        {0, 48000, "21"},  {0.5, 48000, "1"},   {1, 48000, "2"},   {5, 48000, "6"},  {5, 44100, "5"},
        {19, 48000, "20"}, {19.9, 48000, "20"}, {20, 48000, "21"}, {25, 48000, "6"}, {40, 44100, "21"},
    };
    EXPECT_EQ(client.initialize(), 0);
    int number = 0;
    for (const Case& c : cases) {
        Device& speaker = sim.playback("Speaker " + std::to_string(++number)).freezes().cursorLead(c.lead);
        speaker.primaryKeeps({2, c.rate, 16, std::nullopt});
        EXPECT_EQ(client.open(speaker).result, 0);
        const std::string event = commandEvent(sim);
        EXPECT_EQ(client.start(speaker), 0);
        sim.advance(50);
        const std::vector<std::string> waits = timedWaits(sim, event);
        ASSERT_FALSE(waits.empty());
        EXPECT_EQ(waits[0], c.wait) << c.lead << " ms at " << c.rate;
        EXPECT_EQ(client.close(speaker), 0);
        client.waitForClosed();
    }
    client.finalize();
}

SCENARIO(RenderBlocks, Waits_FollowTheCursor,
         "On a smooth clock the waits run 21, 2, 4, 8, 16, 12, 4, 8, 16, 12 ms and so on.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    const std::string event = commandEvent(sim);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(200);
    std::vector<std::string> waits = timedWaits(sim, event);
    ASSERT_GE(waits.size(), 14u);
    waits.resize(14);
    EXPECT_EQ(waits, (std::vector<std::string>{"21", "2", "4", "8", "16", "12", "4", "8", "16", "12", "4", "8", "16",
                                               "12"}));
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderBlocks, LocksInTwoRegions_AreFilledInBoth,
         "A block that is locked in two regions is copied to both, its beginning to the first.") {
    EXPECT_EQ(client.initialize(), 0);
    for (const DWORD split : {4u, 1000u, 3836u}) {
        Device& speaker = sim.playback("Speaker " + std::to_string(split)).splitsLocks(split);
        EXPECT_EQ(client.open(speaker).result, 0);
        EXPECT_EQ(client.start(speaker), 0);
        sim.advance(1500);
        EXPECT_EQ(client.close(speaker), 0);
        client.waitForClosed();
        const NumberedChecker heard = speaker.checkHeard();
        EXPECT_TRUE(heard.unbroken()) << split;
        EXPECT_GT(heard.frames(), 60'000u);
        EXPECT_EQ(sim.calls("Secondary.Unlock").back().arguments,
                  std::to_string(split) + " " + std::to_string(kBlockBytes - split));
    }
    client.finalize();
}

SCENARIO(
    RenderBlocks, LocksLongerThanAsked_GetTheBlockAndNoMore,
    "When a driver locks more than it was asked for, in one region or in two, a block is copied to its place and "
    "nothing behind it.") {
    EXPECT_EQ(client.initialize(), 0);
    for (const DWORD split : {MAXDWORD, 4u, 1000u, 3836u}) {
        Device& speaker = sim.playback("Speaker " + std::to_string(split)).splitsLocks(split).locksMore(kBlockBytes);
        EXPECT_EQ(client.open(speaker).result, 0);
        EXPECT_EQ(client.start(speaker), 0);
        sim.advance(1500);
        EXPECT_EQ(client.close(speaker), 0);
        client.waitForClosed();
        EXPECT_TRUE(speaker.checkHeard().unbroken()) << split;
        EXPECT_GT(speaker.checkHeard().frames(), 60'000u);
    }
    client.finalize();
}

SCENARIO(RenderBlocks, PlayedBlocks_AreKeptUpToTheCushionPlusFive,
         "A playback device keeps its last ten played blocks, on an emulated driver fifteen.") {
    EXPECT_EQ(client.initialize(), 0);
    for (const bool emulated : {false, true}) {
        Device& speaker = sim.playback(emulated ? "Emulated" : "Speaker").freezes();
        speaker.emulatedDriver = emulated;
        const std::size_t bound = emulated ? 15 : 10;
        EXPECT_EQ(client.open(speaker).result, 0);
        EXPECT_EQ(client.start(speaker), 0);
        for (std::size_t written = 1; written <= 20; ++written) {
            sim.advance(50);
            EXPECT_EQ(liveOfSize(sim, kBlockBytes), std::min(written, bound));
            speaker.jumps(20);
        }
        EXPECT_EQ(client.close(speaker), 0);
        client.waitForClosed();
        EXPECT_EQ(liveOfSize(sim, kBlockBytes), 0u);
    }
    client.finalize();
}
