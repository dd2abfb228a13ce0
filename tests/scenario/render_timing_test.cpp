// The lines that playback writes about its own timing, on both sides of every threshold.
#include "render_support.h"

#include <utility>

using namespace scenario::render;

namespace scenario {
namespace {

std::string slowPosition(unsigned ms) {
    return kLine + "outerLoop proc (2) time: " + std::to_string(ms) + " msecs";
}
std::string slowBlock(unsigned ms) {
    return kLine + "Loop proc time: " + std::to_string(ms) + " msecs";
}
std::string slowClient(unsigned ms) {
    return kLine + "m_DS->m_Callbacks.getPlaybackData time " + std::to_string(ms) + " msecs";
}
std::string slowPoll(unsigned ms) {
    return kLine + "WaitForSingleObject slept for " + std::to_string(ms) + " msecs";
}
std::string slowWait(unsigned ms) {
    return kLine + "slept for " + std::to_string(ms) + " msecs";
}
std::string slowPass(unsigned ms) {
    return kLine + "outerLoop proc (3) time: " + std::to_string(ms) + " msecs";
}

} // namespace
} // namespace scenario

// In all of these the device stands on a block boundary, so that every quiet pass is one wait of 21 ms.

SCENARIO(RenderTiming, FirstCursorReadOfAPass_IsToldBeyond40,
         "A first cursor read of 40 ms is not told, one of 41 ms is, with its time at level 2.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.GetCurrentPosition").onCall(1).takes(40);
    sim.advance(200);
    expectTrouble({slowPass(61)});
    sim.on("Secondary.GetCurrentPosition").onCall(1).takes(41);
    sim.advance(200);
    expectTrouble({slowPass(61), slowPosition(41), slowPass(62)});
    expectLog(2, speaker, slowPosition(41));
    expectLog(2, speaker, slowPass(62));
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, SlowCursorReadThatFails_IsToldBeforeItsError,
         "A slow first cursor read that also fails is told first and logged as an error then.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.GetCurrentPosition").onCall(1).takes(1000).fails(DSERR_NODRIVER);
    sim.advance(2000);
    expectTrouble({slowPosition(1000), kNoDriver});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, CursorReadAfterABlock_IsNotToldByItself,
         "The cursor read after a block has no line of its own, however slow; it counts for the pass.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.on("Secondary.GetCurrentPosition").onCall(2).takes(100);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(300);
    expectTrouble({slowPass(121)});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, Block_IsToldBeyond40WhenAnotherFollows,
         "A block that takes 41 ms is told when the next one begins, one of 40 ms is not.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.Lock").onCall(1).takes(40);
    speaker.jumps(60);
    sim.advance(200);
    expectTrouble({slowPass(61)});
    sim.on("Secondary.Lock").onCall(1).takes(41);
    speaker.jumps(60);
    sim.advance(200);
    expectTrouble({slowPass(61), slowBlock(41), slowPass(62)});
    expectLog(2, speaker, slowBlock(41));
    EXPECT_EQ(writtenBlocks(sim).size(), 7u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, EachSlowBlock_IsMeasuredByItself,
         "Every block is measured from the begin of its predecessor, so that slow blocks do not add up.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.Lock").onCall(1).takes(30);
    sim.on("Secondary.Lock").onCall(2).takes(50);
    sim.on("Secondary.Lock").onCall(3).takes(35);
    speaker.jumps(80);
    sim.advance(300);
    expectTrouble({slowBlock(50), slowPass(30 + 50 + 35 + 21)});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, TellingOfASlowBlock_DoesNotMakeTheNextOneSlow,
         "The time that the client takes for the line about a slow block counts for the pass, and not for the next "
         "block.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    client.onLog = [&](const LogLine& line) {
        if (line.text.find("proc (3)") == std::string::npos)
            sim.spend(70);
    };
    sim.on("Secondary.Lock").onCall(1).takes(41);
    speaker.jumps(60);
    sim.advance(300);
    expectTrouble({slowBlock(41), slowPass(41 + 70 + 21)});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, LastBlockOfAPass_IsNotToldAsBlock,
         "The last block of a pass has no line of its own, however slow; it counts for the pass.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.on("Secondary.Lock").onCall(2).takes(500);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(1000);
    expectTrouble({slowPass(521)});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, Client_IsToldBeyond20,
         "A getPlaybackData of 20 ms is not told, one of 21 ms is; the time spent waiting for the DSP lock does not "
         "count.") {
    unsigned busy = 0;
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        sim.spend(std::exchange(busy, 0));
        return client.fillNumberedBlock(device, block);
    };
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    busy = 20;
    speaker.jumps(20);
    sim.advance(200);
    expectTrouble({slowPass(41)});
    busy = 21;
    speaker.jumps(20);
    sim.advance(200);
    expectTrouble({slowPass(41), slowClient(21), slowPass(42)});
    expectLog(2, speaker, slowClient(21));
    client.lockDsp();
    speaker.jumps(20);
    sim.advance(20);
    client.logs.clear();
    sim.advance(80);
    client.unlockDsp();
    sim.advance(100);
    for (const std::string& line : client.logTexts(2))
        EXPECT_EQ(line.find("getPlaybackData"), std::string::npos) << line;
    EXPECT_EQ(client.logTexts(2).size(), 1u) << "only the pass was slow";
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, SlowClient_IsToldUnderTheDspLock,
         "The line about a slow client is written while the DSP lock is still held.") {
    bool slow = true;
    double told = 0;
    double locked = 0;
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        if (std::exchange(slow, false))
            sim.spend(30);
        return client.fillNumberedBlock(device, block);
    };
    client.onLog = [&](const LogLine& line) {
        if (line.text.find("getPlaybackData") == std::string::npos)
            return;
        sim.spend(25);
        told = sim.now();
    };
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(10); // the callback runs
    client.lockDsp();
    locked = sim.now();
    client.unlockDsp();
    EXPECT_GT(told, 0);
    EXPECT_GE(locked, told);
    sim.advance(100);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, PollAfterABlock_IsToldBeyond20,
         "The look at the command event after a block is told when it took 21 ms, not when it took 20.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    const std::string event = commandEvent(sim);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    for (const unsigned milliseconds : {20u, 21u}) {
        sim.on("Secondary.Unlock").onCall(1).does([&, milliseconds] {
            sim.on("WaitForSingleObject").of(event).onCall(1).takes(milliseconds);
        });
        speaker.jumps(20);
        sim.advance(200);
    }
    expectTrouble({slowPass(41), slowPoll(21), slowPass(42)});
    expectLog(2, speaker, slowPoll(21));
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, TimedWait_IsToldBeyondItsLengthPlus20,
         "The timed wait is told when it took more than 20 ms longer than computed: after 41 ms instead of 20, not "
         "after 40; and after 26 ms instead of 5, not after 25.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    const std::string event = commandEvent(sim);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("WaitForSingleObject").of(event).onCall(1).takes(19);
    sim.advance(200);
    expectTrouble({});
    sim.on("WaitForSingleObject").of(event).onCall(1).takes(20);
    sim.advance(200);
    expectTrouble({slowWait(41), slowPass(41)});
    expectLog(2, speaker, slowWait(41));
    client.logs.clear();
    speaker.jumps(5);
    sim.advance(100);
    sim.on("WaitForSingleObject").of(event).onCall(1).takes(19);
    sim.advance(200);
    expectTrouble({});
    sim.on("WaitForSingleObject").of(event).onCall(1).takes(20);
    sim.advance(200);
    expectTrouble({slowWait(26)});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, Pass_IsToldBeyond40, "A pass of 40 ms, its wait included, is not told, one of 41 ms is.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.GetCurrentPosition").onCall(1).takes(19);
    sim.advance(200);
    expectTrouble({});
    sim.on("Secondary.GetCurrentPosition").onCall(1).takes(20);
    sim.advance(200);
    expectTrouble({slowPass(41)});
    expectLog(2, speaker, slowPass(41));
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, ComputedWait_IsToldBeyond20WithoutAUnit,
         "A computed wait above 20 ms, which only a driver with a senseless rate can cause, is told as a bare number "
         "after two blanks; one of 20 ms is not.") {
    // Six bytes a frame at this rate overflow to 200000 bytes a second, while a block is millions of bytes long.
    constexpr DWORD kRate = 715'861'216;
    static_assert(static_cast<DWORD>(6 * std::uint64_t{kRate}) == 200'000);
    sim.plainHeap();
    client.onPlayback = [](const std::string&, AudioBlock& block) { return block.frameCount; };
    EXPECT_EQ(client.initialize(), 0);
    for (const DWORD frames : {1049u, 1050u}) { // 4196 and 4200 bytes into the block: 20 and 21 ms
        client.logs.clear();
        Device& speaker = sim.playback("Speaker " + std::to_string(frames)).freezes();
        speaker.cursorLead(frames / 48.0 + 0.001).bufferReports({3, kRate, 16, 7, {}});
        EXPECT_EQ(client.open(speaker).result, 0);
        const std::string event = commandEvent(sim);
        sim.on("Secondary.Lock").of(speaker.label()).onCall(2).fails(S_OK);
        EXPECT_EQ(client.start(speaker), 0);
        sim.advance(10);
        if (frames == 1049u) {
            expectTrouble({});
        } else {
            expectTrouble({kLine + "msecsToWait =  21"});
            expectLog(2, speaker, kLine + "msecsToWait =  21");
        }
        EXPECT_EQ(client.close(speaker), 0);
        client.waitForClosed();
        EXPECT_EQ(timedWaits(sim, event), std::vector<std::string>{frames == 1049u ? "21" : "22"});
    }
    client.finalize();
}

SCENARIO(RenderTiming, Clock_MayWrapAround,
         "Durations are right also across the moment when the clock wraps around.") {
    sim.system().clockStart = 0xFFFFFFFF - 150;
    unsigned busy = 0;
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        sim.spend(std::exchange(busy, 0));
        return client.fillNumberedBlock(device, block);
    };
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(120);
    busy = 60;
    speaker.jumps(20);
    sim.advance(500);
    expectTrouble({slowClient(60), slowPass(81)});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, WithoutALogCallback_NothingElseChanges,
         "Without a log callback slow steps are passed over in silence and the audio goes on.") {
    client.callbacks.logMessage = nullptr;
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    const std::string event = commandEvent(sim);
    EXPECT_EQ(client.start(speaker), 0);
    sim.on("Secondary.GetCurrentPosition").onCall(10).takes(45);
    sim.on("Secondary.Lock").onCall(10).takes(45);
    sim.on("WaitForSingleObject").of(event).onCall(40).takes(45);
    sim.advance(2000);
    expectErrorLines({});
    expectOutputLines({});
    client.closeAndFinalize({&speaker});
    EXPECT_TRUE(client.logs.empty());
    EXPECT_TRUE(speaker.checkHeard().unbroken());
}
