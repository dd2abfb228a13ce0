// The capture loop: which block is handed over when.
#include "capture_scenario.h"

#include <cstring>
#include <functional>

namespace scenario {

// The time-outs of the waits that a thread has ended, in order.
static std::vector<std::string> waitsOf(Simulation& sim, const std::string& thread) {
    std::vector<std::string> waits;
    for (const CallRecord& call : sim.calls("WaitForSingleObject")) {
        if (call.thread == thread && call.arguments != "INFINITE")
            waits.push_back(call.arguments);
    }
    return waits;
}

} // namespace scenario

SCENARIO(CaptureLoop, FirstLook_ComesAfter21Milliseconds,
         "A started capture device is left alone for 21 ms before its cursor is read for the first time.") {
    Device& microphone = sim.capture("Microphone").freezes();
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(30);
    const CallRecord start = sim.calls("CaptureBuffer.Start").at(0);
    const CallRecord look = sim.calls("CaptureBuffer.GetCurrentPosition").at(0);
    EXPECT_EQ(look.time - start.time, 21 * kMillisecond);
    EXPECT_EQ(waitsOf(sim, start.thread).at(0), "21");
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, StopInTheFirstWait_EndsWithoutALook,
         "A capture device that is stopped within its first 21 ms never has its cursor read.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(20);
    EXPECT_EQ(client.stop(microphone), 0);
    sim.advance(20);
    EXPECT_EQ(sim.count("CaptureBuffer.GetCurrentPosition"), 0u);
    EXPECT_EQ(sim.calls("CaptureBuffer.Stop").at(0).time - sim.calls("CaptureBuffer.Start").at(0).time,
              20 * kMillisecond);
    EXPECT_TRUE(client.captured.empty());
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, CursorInsideTheFirstBlock_DeliversNothing,
         "A block is handed over only when the cursor has reached its end.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    move(sim, microphone, 19);
    EXPECT_TRUE(client.captured.empty());
    EXPECT_EQ(sim.count("CaptureBuffer.Lock"), 0u);
    move(sim, microphone, 1);
    EXPECT_EQ(blockNumbers(client, microphone), numbersFrom(0, 1));
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, TwentyFiveBlocksBehind_AreAllDelivered,
         "A backlog of 25 blocks is handed over whole, in order, and without a wait in between.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    move(sim, microphone, 500);
    EXPECT_EQ(blockNumbers(client, microphone), numbersFrom(0, 25));
    for (const CapturedBlock& block : client.captured)
        EXPECT_EQ(block.time, client.captured.front().time);
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, TwentySixBlocksBehind_AreDropped,
         "A backlog of 26 blocks is dropped; the next block is the one that the cursor is in.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    move(sim, microphone, 520);
    EXPECT_TRUE(client.captured.empty());
    move(sim, microphone, 20);
    EXPECT_EQ(blockNumbers(client, microphone), numbersFrom(26, 1));
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, FortyNineBlocksBehind_AreDropped,
         "A backlog of 49 blocks, the longest that can be told, is dropped.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    move(sim, microphone, 980);
    EXPECT_TRUE(client.captured.empty());
    move(sim, microphone, 20);
    EXPECT_EQ(blockNumbers(client, microphone), numbersFrom(49, 1));
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, WholeBufferBehind_LooksLikeNothingNew,
         "A cursor that has run once around the buffer unseen shows no new block; capturing goes on from there.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    move(sim, microphone, 1000);
    EXPECT_TRUE(client.captured.empty());
    move(sim, microphone, 40);
    EXPECT_EQ(blockNumbers(client, microphone), numbersFrom(50, 2));
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, BacklogAcrossTheEndOfTheBuffer_IsCountedAround,
         "Distances are counted around the end of the buffer, on both sides of the edge of 25.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    move(sim, microphone, 500);
    move(sim, microphone, 400); // block 45 is next
    move(sim, microphone, 500); // 25 more, across the end
    EXPECT_EQ(blockNumbers(client, microphone), numbersFrom(0, 70));
    move(sim, microphone, 400); // block 40 of the second round is next
    move(sim, microphone, 520);
    EXPECT_EQ(client.captured.size(), 90u);
    move(sim, microphone, 20);
    EXPECT_EQ(blockNumbers(client, microphone).back(), 116u);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, SlowClient_LosesOnlyWhatIsTooOld,
         "A client that sleeps 480 ms in its callback loses nothing; one that "
         "sleeps 700 ms goes on at the present.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    double sleep = 480;
    client.onCapture = [&](const std::string&, AudioBlock&, AudioBlock*) { sim.spend(std::exchange(sleep, 0)); };
    openAndStart(client, microphone);
    sim.advance(1000);
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    const std::size_t before = client.captured.size();
    sleep = 700;
    sim.advance(1500);
    const NumberedChecker checker = client.checkCaptured(microphone);
    EXPECT_EQ(checker.breaks(), 1u);
    EXPECT_EQ(checker.garbage() + checker.silence(), 0u);
    const std::vector<std::uint64_t> numbers = blockNumbers(client, microphone);
    EXPECT_GT(numbers.at(before + 1) - numbers.at(before), 25u);
    EXPECT_LT(numbers.at(before + 1) - numbers.at(before), 38u);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, Wait_IsTheTimeIntoTheBlockPlusOne,
         "Between looks the loop waits for as long as the cursor is inside its block, and one millisecond.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    const std::string worker = sim.calls("CaptureBuffer.Start").at(0).thread;
    struct Row {
        double position; // milliseconds
        const char* wait;
    };
    double at = 0;
    const auto row = [&](const Row& expected) {
        microphone.clock.jump(microphone.now(), static_cast<Nanoseconds>((expected.position - at) * kMillisecond));
        at = expected.position;
        sim.advance(45);
        EXPECT_EQ(waitsOf(sim, worker).back(), expected.wait) << "at " << expected.position << " ms";
    };
    row({0, "1"});
    row({0.98, "1"});
    row({1.001, "2"});
    row({5.001, "6"});
    row({18.99, "19"});
    row({19.001, "20"});
    row({19.99, "20"});
    row({20.001, "1"}); // hands over the first block
    row({33.001, "14"});
    EXPECT_EQ(client.captured.size(), 1u);
    row({619.001, "20"}); // drops the backlog and waits
    EXPECT_EQ(client.captured.size(), 1u);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, Block_IsLockedCopiedAndUnlockedBeforeTheClientGetsIt,
         "Each block is locked by itself without flags and unlocked before the client is called.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    client.onCapture = [&](const std::string&, AudioBlock&, AudioBlock*) {
        EXPECT_EQ(sim.count("CaptureBuffer.Lock"), sim.count("CaptureBuffer.Unlock"));
    };
    move(sim, microphone, 500);
    move(sim, microphone, 500);
    move(sim, microphone, 40);
    const std::vector<CallRecord> locks = sim.calls("CaptureBuffer.Lock");
    ASSERT_EQ(locks.size(), 52u);
    for (std::size_t i = 0; i < locks.size(); ++i)
        EXPECT_EQ(locks[i].arguments, std::to_string(i % 50 * 3840) + " 3840 flags 0");
    for (const CallRecord& unlock : sim.calls("CaptureBuffer.Unlock"))
        EXPECT_EQ(unlock.arguments, "3840 0");
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, BlockAcrossTheEndOfTheBuffer_IsOnePiece,
         "A block that the driver hands out in two pieces reaches the client as one, nothing lost between them.") {
    // 49 kHz in a buffer of one second at 48 kHz: the 49th block begins before the end and ends behind it; the 50th
    // begins behind the end, which ends the loop.
    sim.system().messages[0x80070057] = L"Wrong argument.\r\n";
    Device& microphone = sim.capture("Microphone").bufferKeeps({2, 49000, 16, std::nullopt});
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(1100);
    EXPECT_EQ(client.captured.size(), 49u);
    const NumberedChecker checker = client.checkCaptured(microphone);
    EXPECT_TRUE(checker.unbroken());
    EXPECT_EQ(checker.frames(), 49u * 980u);
    EXPECT_EQ(sim.calls("CaptureBuffer.Unlock").back().arguments, "3840 80");
    expectLog(1, microphone, "unknown error: Wrong argument.");
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, ReadPosition_Decides,
         "The read position decides what is complete, however far the hardware's own cursor is ahead.") {
    Device& microphone = sim.capture("Microphone").cursorLead(45);
    runFrozen(sim, client, microphone);
    move(sim, microphone, 19);
    EXPECT_TRUE(client.captured.empty());
    move(sim, microphone, 41);
    EXPECT_EQ(blockNumbers(client, microphone), numbersFrom(0, 3));
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, Record_CarriesTheClientsNumber,
         "A captured block carries the client's number of the device, a zero flag and 20 ms of frames.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone, 0xFFFFFFFE);
    sim.advance(100);
    ASSERT_FALSE(client.captured.empty());
    for (const CapturedBlock& block : client.captured) {
        EXPECT_EQ(block.device, microphone.id());
        EXPECT_EQ(block.contextId, 0xFFFFFFFE);
        EXPECT_EQ(block.flag, 0);
        EXPECT_EQ(block.frames, 960);
        EXPECT_FALSE(block.hasEcho);
    }
    client.closeAndFinalize({&microphone}, 0xFFFFFFFE);
}

SCENARIO(CaptureLoop, ClientChangesTheBlock_DisturbsNothing,
         "What a client does to the samples and the record of a block has no effect on later blocks.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    client.onCapture = [&](const std::string&, AudioBlock& block, AudioBlock*) {
        std::memset(block.samples, 0xEE, static_cast<std::size_t>(block.frameCount) * 4);
        block = {99, 1, nullptr, -1};
    };
    openAndStart(client, microphone);
    sim.advance(3000);
    EXPECT_GE(client.capturedCount, 148u);
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    EXPECT_EQ(client.captured.back().contextId, 7u);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureLoop, Rate44100_GivesBlocksOf882Frames,
         "A driver that delivers 44.1 kHz gives blocks of 882 frames, nothing lost until its buffer's uneven end.") {
    Device& microphone = sim.capture("Microphone").bufferKeeps({2, 44100, 16, std::nullopt});
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(900);
    EXPECT_GE(client.captured.size(), 43u);
    for (const CapturedBlock& block : client.captured)
        EXPECT_EQ(block.frames, 882);
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    client.closeAndFinalize({&microphone});
}

SCENARIO(
    CaptureLoop, LocksInTwoRegionsOrLongerThanAsked_DeliverTheBlockAndNoMore,
    "A block that is locked in two regions is delivered whole, and when a driver locks more than it was asked for "
    "nothing behind the block is.") {
    EXPECT_EQ(client.initialize(), 0);
    for (const DWORD surplus : {0u, 3840u}) {
        for (const DWORD split : {MAXDWORD, 4u, 1000u, 3836u}) {
            const std::string label = std::to_string(surplus) + " " + std::to_string(split);
            Device& microphone = sim.capture(label).splitsLocks(split).locksMore(surplus);
            openAndStart(client, microphone);
            sim.advance(1500);
            EXPECT_EQ(client.close(microphone), 0);
            client.waitForClosed();
            EXPECT_TRUE(client.checkCaptured(microphone).unbroken()) << label;
            EXPECT_GT(client.checkCaptured(microphone).frames(), 70'000u) << label;
        }
    }
    client.finalize();
}
