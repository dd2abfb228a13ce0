// Captures with an echo reference while playback devices come and go, and over a long time.
#include "capture_scenario.h"

#include <random>

namespace scenario {

// What a client can tell from the blocks: captured audio and reference each run on, and how far apart they are.
class LagMeter {
public:
    LagMeter(Client& client, const Device& microphone) {
        client.onCapture = [this, id = microphone.id()](const std::string& device, AudioBlock& block,
                                                        AudioBlock* echo) {
            if (device == id)
                take(block, echo);
        };
    }
    std::uint64_t blocks = 0;
    std::uint64_t references = 0;
    std::uint64_t gapsInCapture = 0;
    std::uint64_t gapsInReference = 0;
    std::uint64_t lagChanges = 0;
    std::uint64_t disorder = 0;
    std::uint64_t lastLagChange = 0; // as a number of blocks since the begin
    [[nodiscard]] std::uint64_t lagSpread() const { return static_cast<std::uint64_t>(m_MostLag - m_LeastLag); }

private:
    static std::uint64_t numberOf(const AudioBlock& block) {
        const auto* bytes = static_cast<const std::byte*>(static_cast<const void*>(block.samples));
        return firstFrame({bytes, bytes + 4});
    }
    void take(const AudioBlock& block, const AudioBlock* echo) {
        const std::uint64_t captured = numberOf(block);
        gapsInCapture += blocks > 0 && captured != m_Captured + kFramesPerBlock ? 1 : 0;
        m_Captured = captured;
        ++blocks;
        if (!echo)
            return;
        const std::uint64_t played = numberOf(*echo);
        gapsInReference += references > 0 && played != m_Played + kFramesPerBlock ? 1 : 0;
        disorder += references > 0 && played <= m_Played ? 1 : 0;
        if (references > 0 && captured - played != m_Lag) {
            ++lagChanges;
            lastLagChange = blocks;
        }
        const auto lag = static_cast<std::int64_t>(captured - played);
        m_LeastLag = references > 0 ? std::min(m_LeastLag, lag) : lag;
        m_MostLag = references > 0 ? std::max(m_MostLag, lag) : lag;
        m_Played = played;
        m_Lag = captured - played;
        ++references;
    }

    std::uint64_t m_Captured = 0;
    std::uint64_t m_Played = 0;
    std::uint64_t m_Lag = 0;
    std::int64_t m_LeastLag = 0;
    std::int64_t m_MostLag = 0;
};

} // namespace scenario

SCENARIO(EchoSession, LongRun_KeepsTheLag,
         "Over twenty minutes every captured block comes, every reference in order, and the lag between them is "
         "constant.") {
    sim.plainHeap();
    client.keepBlocks = false;
    Device& speaker = sim.playback("Speaker");
    speaker.heard.keep = 0;
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    LagMeter meter(client, microphone);
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    sim.advance(20 * 60 * 1000);
    EXPECT_GE(meter.blocks, 59'990u);
    EXPECT_GE(meter.references + 20, meter.blocks);
    EXPECT_EQ(meter.gapsInCapture, 0u);
    EXPECT_EQ(meter.gapsInReference, 0u);
    EXPECT_LT(meter.lastLagChange, 50u) << "the queue has found its depth within a second";
    expectTrouble({});
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoSession, SteppingCursors_KeepTheLag,
         "With cursors that move in steps of 10 and 31.25 ms the lag of the reference is constant after a second.") {
    sim.plainHeap();
    client.keepBlocks = false;
    Device& speaker = sim.playback("Speaker").steps(10);
    speaker.heard.keep = 0;
    Device& microphone = sim.capture("Microphone").steps(31.25);
    EXPECT_EQ(client.initialize(), 0);
    LagMeter meter(client, microphone);
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    sim.advance(5 * 60 * 1000);
    EXPECT_GE(meter.blocks, 14'990u);
    EXPECT_GE(meter.references + 20, meter.blocks);
    EXPECT_EQ(meter.gapsInCapture, 0u);
    EXPECT_LT(meter.lastLagChange, 50u) << meter.lagChanges << " changes";
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoSession, SteppingCursorsAndCoarseTimers_KeepTheOrder,
         "With stepping cursors and waits of 16 ms as well, references never repeat or go back, and the lag stays "
         "within the four blocks of the queue's play.") {
    sim.plainHeap();
    sim.timerGranularity(16);
    client.keepBlocks = false;
    Device& speaker = sim.playback("Speaker").steps(10);
    speaker.heard.keep = 0;
    Device& microphone = sim.capture("Microphone").steps(31.25);
    EXPECT_EQ(client.initialize(), 0);
    LagMeter meter(client, microphone);
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    sim.advance(5 * 60 * 1000);
    EXPECT_GE(meter.blocks, 14'990u);
    EXPECT_GE(meter.references + 50, meter.blocks);
    EXPECT_EQ(meter.gapsInCapture, 0u);
    EXPECT_EQ(meter.disorder, 0u);
    EXPECT_LE(meter.lagSpread(), 4 * kFramesPerBlock);
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoSession, SeveralCapturesOnOneReference_ShareItsBlocks,
         "Of several captures with one reference each played block reaches exactly one, in order for each.") {
    Device& speaker = sim.playback("Speaker");
    Device& first = sim.capture("First");
    Device& second = sim.capture("Second");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, speaker);
    openAndStart(client, first);
    openAndStart(client, second);
    EXPECT_EQ(client.associate(first, speaker).result, 0);
    EXPECT_EQ(client.associate(second, speaker).result, 0);
    for (unsigned seed = 1; seed <= 5; ++seed) {
        sim.randomSchedule(seed);
        sim.advance(2000);
    }
    std::set<std::uint64_t> seen;
    for (const Device* device : {&first, &second}) {
        EXPECT_TRUE(client.checkCaptured(*device).unbroken());
        std::uint64_t last = 0;
        bool any = false;
        for (const CapturedBlock& block : client.captured) {
            if (block.device != device->id() || !block.hasEcho)
                continue;
            const std::uint64_t number = firstFrame(block.echoAudio);
            EXPECT_TRUE(!any || number > last);
            EXPECT_TRUE(seen.insert(number).second) << "played block " << number / kFramesPerBlock << " came twice";
            last = number;
            any = true;
        }
    }
    EXPECT_GE(seen.size(), 480u);
    client.closeAndFinalize({&first, &second, &speaker});
}

SCENARIO(EchoSession, PlaybackClosedUnderTheCapture_ReferenceEndsAndComesAgain,
         "When the playback device is closed the reference ends with it; opened anew, it comes again by itself.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    sim.advance(500);
    EXPECT_TRUE(client.captured.back().hasEcho);
    EXPECT_EQ(client.close(speaker), 0);
    const std::size_t closed = client.captured.size();
    sim.advance(500);
    for (std::size_t i = closed; i < client.captured.size(); ++i)
        EXPECT_FALSE(client.captured[i].hasEcho) << "gone from the registry, gone for the capture";
    openAndStart(client, speaker);
    sim.advance(500);
    EXPECT_TRUE(client.captured.back().hasEcho);
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoSession, PlaybackClosedAndReopenedUnderTheDspLock_GoesOn,
         "The playback device can be closed, waited for and reopened while the client holds the DSP lock.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    for (int i = 0; i < 10; ++i) {
        sim.advance(300 + 7 * i);
        EXPECT_TRUE(client.captured.back().hasEcho);
        EXPECT_EQ(client.lockDsp(), 0);
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
        openAndStart(client, speaker);
        sim.advance(100);
        EXPECT_EQ(client.unlockDsp(), 0);
    }
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    EXPECT_EQ(client.logTexts(1), std::vector<std::string>{});
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoSession, PlaybackUnplugged_CaptureGoesOn,
         "When the reference's device is unplugged, what it has played is used up and the capture goes on without.") {
    Device& speaker = sim.playback("Speaker");
    sim.playback("Other");
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    sim.advance(500);
    speaker.unplug();
    sim.advance(500);
    EXPECT_FALSE(client.captured.back().hasEcho);
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(EchoSession, PairingFromAnotherThread_IsNeverHalfSeen,
         "Pairings that change while captures run give each block the reference of one pairing, whole.") {
    Device& stereo = sim.playback("Stereo");
    Device& mono = sim.playback("Mono").speakers(2);
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    client.onPlayback = [&](const std::string& device, AudioBlock& block) { // each device plays its own number
        const std::size_t samples = static_cast<std::size_t>(block.frameCount) * (device == stereo.id() ? 2 : 1);
        std::fill_n(block.samples, samples, static_cast<std::int16_t>(device == stereo.id() ? 2 : 1));
        return block.frameCount;
    };
    openAndStart(client, stereo);
    openAndStart(client, mono);
    openAndStart(client, microphone);
    std::uint64_t whole[2] = {0, 0};
    client.keepBlocks = false;
    client.onCapture = [&](const std::string&, AudioBlock&, AudioBlock* echo) {
        if (!echo)
            return;
        const std::int16_t channels = echo->samples[0];
        ASSERT_TRUE(channels == 1 || channels == 2) << channels;
        EXPECT_EQ(echo->samples[960 * channels - 1], channels);
        ++whole[channels - 1];
    };
    std::mt19937 random(5);
    sim.randomSchedule(77);
    for (int i = 0; i < 400; ++i) {
        EXPECT_EQ(client.associate(microphone, i % 2 == 0 ? stereo : mono).result, 0);
        sim.advance(random() % 50);
    }
    EXPECT_GT(whole[0], 20u);
    EXPECT_GT(whole[1], 20u);
    client.closeAndFinalize({&microphone, &stereo, &mono});
}
