// The capture loop over minutes, on cursors as real devices have them: nothing lost, nothing twice.
#include "capture_scenario.h"

namespace scenario {

// Runs a microphone and checks every block; what the device is like is set before.
class Minutes {
public:
    Minutes(Simulation& sim, Client& client, Device& microphone) : m_Sim(sim), m_Client(client), m_Mic(microphone) {
        sim.plainHeap();
        client.keepBlocks = false;
        EXPECT_EQ(client.initialize(), 0);
        const Opened opened = client.open(microphone);
        EXPECT_EQ(opened.result, 0);
        m_Checker = NumberedChecker(opened.channels, opened.bits);
        m_FrameBytes = opened.channels * opened.bits / 8;
        client.onCapture = [this](const std::string&, AudioBlock& block, AudioBlock*) { take(block); };
        EXPECT_EQ(client.start(microphone), 0);
    }
    ~Minutes() = default;
    Minutes(const Minutes&) = delete;
    Minutes& operator=(const Minutes&) = delete;

    void run(double milliseconds) { m_Sim.advance(milliseconds); }
    // Ends the session. All that the cursor passed over came, up to the last piece.
    void expectComplete(std::uint64_t lostAtMost = 0) {
        m_Client.closeAndFinalize({&m_Mic});
        EXPECT_TRUE(m_Checker.unbroken())
            << m_Checker.breaks() << " breaks, first " << (m_Checker.breaks() ? m_Checker.firstBreaks().front() : "");
        EXPECT_GE(m_Checker.frames() + lostAtMost + 4 * kFramesPerBlock, m_Mic.framesCaptured);
        EXPECT_LE(m_Checker.frames(), m_Mic.framesCaptured);
        EXPECT_EQ(m_Checker.frames() % kFramesPerBlock, 0u);
    }
    [[nodiscard]] const NumberedChecker& checker() const { return m_Checker; }
    // How many blocks came at each moment at which any came.
    std::vector<unsigned> bursts;
    double longestGap = 0;

private:
    void take(const AudioBlock& block) {
        EXPECT_EQ(block.frameCount, static_cast<std::int32_t>(kFramesPerBlock));
        const std::size_t bytes = kFramesPerBlock * m_FrameBytes;
        m_Checker.feed({static_cast<const std::byte*>(static_cast<const void*>(block.samples)), bytes});
        if (m_Sim.now() == m_Last) {
            ++bursts.back();
            return;
        }
        bursts.push_back(1);
        if (m_Last > 0)
            longestGap = std::max(longestGap, m_Sim.now() - m_Last);
        m_Last = m_Sim.now();
    }

    Simulation& m_Sim;
    Client& m_Client;
    Device& m_Mic;
    NumberedChecker m_Checker{2, 16};
    std::size_t m_FrameBytes = 4;
    double m_Last = 0;
};

} // namespace scenario

SCENARIO(CaptureCursor, Smooth_LosesNothing, "A cursor that runs smoothly gives one block every 20 ms or so.") {
    Minutes minutes(sim, client, sim.capture("Microphone"));
    minutes.run(180'000);
    minutes.expectComplete();
    EXPECT_LE(minutes.longestGap, 41.0);
    expectTrouble({});
}

SCENARIO(CaptureCursor, StepsOf10Milliseconds_LoseNothing,
         "A cursor that moves in periods of 10 ms gives every block, one at a time.") {
    Minutes minutes(sim, client, sim.capture("Microphone").steps(10));
    minutes.run(180'000);
    EXPECT_LE(std::ranges::max(minutes.bursts), 1u);
    minutes.expectComplete();
}

SCENARIO(CaptureCursor, StepsOf31Milliseconds_ComeAsOneAndTwo,
         "A cursor that moves in steps of 31.25 ms gives blocks as 1, 2, 1, 2, never fewer, never more.") {
    Minutes minutes(sim, client, sim.capture("Microphone").steps(31.25));
    minutes.run(180'000);
    ASSERT_GT(minutes.bursts.size(), 5000u);
    unsigned last = 0;
    for (const unsigned blocks : minutes.bursts) {
        EXPECT_TRUE(blocks == 1 || blocks == 2) << blocks;
        EXPECT_FALSE(blocks == 1 && last == 1);
        last = blocks;
    }
    EXPECT_LE(minutes.longestGap, 52.0);
    minutes.expectComplete(1500);
}

SCENARIO(CaptureCursor, Drift_LosesNothing, "A device clock that is off by 0.1 per cent either way loses nothing.") {
    Device& microphone = sim.capture("Microphone").drifts(1000);
    Minutes minutes(sim, client, microphone);
    minutes.run(120'000);
    microphone.drifts(-1000);
    minutes.run(120'000);
    minutes.expectComplete();
}

SCENARIO(CaptureCursor, CoarseTimer_LosesNothing,
         "Waits that last 16 ms instead of a few lose nothing, whatever the steps of the cursor.") {
    sim.timerGranularity(16);
    Minutes minutes(sim, client, sim.capture("Microphone").steps(31.25).drifts(300));
    minutes.run(180'000);
    EXPECT_LE(std::ranges::max(minutes.bursts), 3u);
    minutes.expectComplete(1500);
}

SCENARIO(CaptureCursor, CoarseTimerAndSmoothCursor_LoseNothing,
         "Waits that last 16 ms instead of a few lose nothing of a cursor that runs smoothly.") {
    sim.timerGranularity(16);
    Minutes minutes(sim, client, sim.capture("Microphone"));
    minutes.run(120'000);
    EXPECT_LE(std::ranges::max(minutes.bursts), 2u);
    minutes.expectComplete();
}

SCENARIO(CaptureCursor, FrozenForAWhile_GoesOnWhereItStood,
         "A cursor that stands still for seconds gives no block meanwhile and loses none.") {
    Device& microphone = sim.capture("Microphone");
    Minutes minutes(sim, client, microphone);
    minutes.run(10'000);
    microphone.freezes();
    sim.advance(30);
    const std::uint64_t blocks = client.capturedCount;
    minutes.run(5'000);
    EXPECT_EQ(client.capturedCount, blocks);
    microphone.thaws();
    minutes.run(10'000);
    minutes.expectComplete();
    expectTrouble({});
}

SCENARIO(CaptureCursor, ShortJumps_LoseNothing, "A cursor that leaps by up to 400 ms now and then loses nothing.") {
    Device& microphone = sim.capture("Microphone");
    for (int i = 1; i <= 40; ++i)
        sim.at(1000.0 * i, [&microphone, i] { microphone.jumps(10 * i); });
    Minutes minutes(sim, client, microphone);
    minutes.run(60'000);
    minutes.expectComplete();
}

SCENARIO(CaptureCursor, LongJump_IsOneGapOfWholeBlocks,
         "A cursor that leaps by 700 ms costs the blocks in between, and not one more.") {
    Device& microphone = sim.capture("Microphone");
    Minutes minutes(sim, client, microphone);
    minutes.run(10'000);
    microphone.jumps(700);
    minutes.run(10'000);
    client.closeAndFinalize({&microphone});
    EXPECT_EQ(minutes.checker().breaks(), 1u);
    EXPECT_EQ(minutes.checker().garbage() + minutes.checker().silence(), 0u);
    EXPECT_NEAR(static_cast<double>(minutes.checker().frames()), 20'000.0 * 48, 4.0 * kFramesPerBlock);
}

SCENARIO(CaptureCursor, JumpBackwards_IsFollowed,
         "A cursor that jumps back by less than half a buffer is followed from there: what comes again is delivered "
         "again, and nothing else is wrong.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(3000);
    microphone.jumps(-300);
    sim.advance(3000);
    const NumberedChecker delivered = client.checkCaptured(microphone);
    EXPECT_EQ(delivered.breaks(), 1u);
    EXPECT_EQ(delivered.garbage() + delivered.silence(), 0u);
    EXPECT_NEAR(static_cast<double>(delivered.frames()), 6000.0 * 48, 3.0 * kFramesPerBlock);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureCursor, EachFormat_LosesNothing, "Devices of one channel or of 8 bits deliver every frame as well.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    for (const DWORD bits : {0x4000u, 0x2000u, 0x1000u}) {
        const Opened opened = client.open(microphone.captureFormats(bits));
        NumberedChecker checker(opened.channels, opened.bits);
        client.onCapture = [&](const std::string&, AudioBlock& block, AudioBlock*) {
            const auto bytes = static_cast<std::size_t>(block.frameCount) * opened.channels * opened.bits / 8;
            checker.feed({static_cast<const std::byte*>(static_cast<const void*>(block.samples)), bytes});
        };
        EXPECT_EQ(client.start(microphone), 0);
        sim.advance(20'000);
        EXPECT_EQ(client.close(microphone), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
        EXPECT_TRUE(checker.unbroken()) << bits;
        EXPECT_GE(checker.frames(), 997u * kFramesPerBlock);
    }
    client.finalize();
}

SCENARIO(CaptureCursor, RandomSchedulesAndTwoDevices_LoseNothing,
         "Two capture devices at once lose nothing, in whatever order their threads run.") {
    sim.randomSchedule(20);
    Device& first = sim.capture("First").steps(31.25);
    Device& second = sim.capture("Second").steps(10).drifts(-200);
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, first);
    openAndStart(client, second);
    for (unsigned seed = 1; seed <= 10; ++seed) {
        sim.randomSchedule(seed);
        sim.advance(2000);
    }
    EXPECT_TRUE(client.checkCaptured(first).unbroken());
    EXPECT_TRUE(client.checkCaptured(second).unbroken());
    EXPECT_GE(client.capturedCount, 2u * 996u);
    client.closeAndFinalize({&first, &second});
}
