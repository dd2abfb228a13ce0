// The echo association and the reference that comes with captured blocks.
#include "scenario.h"

SCENARIO(
    Echo, RunningPair_DeliversEveryPlayedBlockOnce,
    "With an association each captured block brings one played block, in order, once the queue is deep enough.") {
    Device& speaker = sim.playback("Speaker");
    Device& mic = sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    for (Device* device : {&speaker, &mic})
        EXPECT_EQ(client.open(*device).result, 0);
    const Associated associated = client.associate(mic, speaker);
    EXPECT_EQ(associated.result, 0);
    EXPECT_EQ(associated.mask, 3u);
    EXPECT_EQ(associated.bits, 16u);
    EXPECT_EQ(associated.rate, 48000u);
    for (Device* device : {&speaker, &mic})
        EXPECT_EQ(client.start(*device), 0);
    sim.advance(3000);
    NumberedChecker reference(2, 16);
    unsigned without = 0;
    for (const CapturedBlock& block : client.captured) {
        if (!block.hasEcho) {
            ++without;
            continue;
        }
        EXPECT_EQ(block.echoContextId, 1u);
        EXPECT_EQ(block.echoFrames, 960);
        reference.feed(block.echoAudio);
    }
    EXPECT_TRUE(reference.unbroken());
    EXPECT_GT(reference.frames(), 130u * 960u);
    EXPECT_LT(without, 12u);
    client.closeAndFinalize({&speaker, &mic});
}

SCENARIO(Echo, EachFailingCall_KeepsThePreviousAssociation,
         "A failing association answers its code and line and leaves the previous one and its counter alone.") {
    const std::vector<std::pair<std::string, BackendResult>> cases = {
        {"CLSIDFromString", -202},
        {"DirectSoundCreate8", -228},
        {"DirectSound.GetCaps", -230},
        {"DirectSound.GetSpeakerConfig", -234},
    };
    Device& speaker = sim.playback("Speaker");
    Device& mic = sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(mic).result, 0);
    EXPECT_EQ(client.associate(mic, speaker).counter, 1u);
    for (const auto& [call, code] : cases) {
        client.logs.clear();
        sim.on(call).onCall(1).fails(DSERR_NODRIVER);
        const Associated failed = client.associate(mic, speaker);
        EXPECT_EQ(failed.result, code) << call;
        EXPECT_EQ(failed.counter, kUntouched) << call;
        expectTrouble({"unknown error: No sound driver is available for use (0x88780078)"});
        EXPECT_TRUE(sim.sound().living(speaker).empty()) << call;
    }
    EXPECT_EQ(client.associate(mic, speaker).counter, 2u);
    EXPECT_EQ(client.dissociate(mic), 0);
    client.closeAndFinalize({&mic});
}

SCENARIO(Echo, Arguments_AreCheckedInOrder,
         "The association answers -121, -144 and -10, in this order; without a playback device nothing is checked.") {
    Device& speaker = sim.playback("Speaker");
    Device& mic = sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.associate(mic, speaker).result, -121);
    EXPECT_EQ(client.open(mic).result, 0);
    EXPECT_EQ(client.associate(mic, speaker, 8).result, -144);
    EXPECT_EQ(client.dissociate(mic), 0);
    std::uint32_t value = 0;
    EXPECT_EQ(sim.exports().orvosoundbackend_associateAECDevice(
                  client.backend, mic.id().c_str(), speaker.id().c_str(), 7, &value, &value, &value, nullptr),
              -10);
    client.closeAndFinalize({&mic});
}

SCENARIO(Echo, SmallRate_Gives44100, "A playback device below 48000 Hz gives an echo sample rate of 44100.") {
    Device& speaker = sim.playback("Speaker").rates(100, 47999);
    Device& mic = sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(mic).result, 0);
    EXPECT_EQ(client.associate(mic, speaker).rate, 44100u);
    speaker.rates(100, 48000);
    EXPECT_EQ(client.associate(mic, speaker).rate, 48000u);
    client.closeAndFinalize({&mic});
}
