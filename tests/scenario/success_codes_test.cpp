// Results that are neither 0 nor a failure: a call has failed by the sign of its result, and by nothing else.
// The simulated calls answer without doing their work; what is left unwritten then shows that nobody took it for a
// failure.
#include "capture_scenario.h"

namespace scenario {

constexpr std::int32_t kOddSuccess = 0x0878000A; // DS_NO_VIRTUALIZATION

} // namespace scenario

SCENARIO(SuccessCodes, CaptureOpenAndStart_GoOn,
         "A capture device whose buffer answers its capabilities or its start with a success other than 0 opens and "
         "starts, without a line.") {
    const Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    sim.on("CaptureBuffer.GetCaps").fails(kOddSuccess);
    sim.on("CaptureBuffer.Start").fails(kOddSuccess);
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_EQ(client.start(microphone), 0);
    sim.advance(100);
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 0u);
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}

SCENARIO(SuccessCodes, CaptureLoop_GoesOn,
         "A capture loop takes a cursor that is answered with a success other than 0, and a block whose lock is.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    sim.on("CaptureBuffer.GetCurrentPosition").onCall(1).fails(kOddSuccess);
    move(sim, microphone, 20);
    EXPECT_EQ(client.capturedCount, 1u);
    sim.on("CaptureBuffer.Lock").onCall(1).fails(kOddSuccess);
    move(sim, microphone, 20);
    EXPECT_EQ(client.capturedCount, 2u);
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 0u);
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}

SCENARIO(SuccessCodes, PlaybackStartAndLoop_GoOn,
         "A playback device whose unlock and play answer a success other than 0 starts, and its loop takes a cursor "
         "and a block that are answered so.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    sim.on("Secondary.Unlock").onCall(1).fails(kOddSuccess);
    sim.on("Secondary.Play").onCall(1).fails(kOddSuccess);
    sim.on("Secondary.GetCurrentPosition").onCall(1).fails(kOddSuccess);
    sim.on("Secondary.GetCurrentPosition").onCall(2).fails(kOddSuccess);
    sim.on("Secondary.Lock").onCall(2).fails(kOddSuccess);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    EXPECT_EQ(client.requestCount, 1u);
    EXPECT_EQ(sim.count("Secondary.Stop"), 0u);
    expectTrouble({});
    client.closeAndFinalize({&speaker});
}

SCENARIO(SuccessCodes, Association_GoesOn,
         "An association whose playback device answers capabilities and speakers with a success other than 0 "
         "succeeds; what was not told counts as zero.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    sim.on("DirectSound.GetCaps").onCall(1).fails(kOddSuccess);
    sim.on("DirectSound.GetSpeakerConfig").onCall(1).fails(kOddSuccess);
    const Associated answer = client.associate(microphone, speaker);
    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.mask, 0u);
    EXPECT_EQ(answer.rate, 44100u);
    EXPECT_EQ(answer.counter, 1u);
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}

SCENARIO(SuccessCodes, IdentifierText_IsTaken,
         "An identifier whose text is parsed with a success other than 0 is taken as it was parsed.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    sim.on("CLSIDFromString").fails(kOddSuccess); // leaves a GUID of zeros, which is no device
    EXPECT_EQ(client.open(speaker).result, -228);
    EXPECT_EQ(client.associate(microphone, speaker).result, -228);
    EXPECT_EQ(client.close(microphone), 0);
    EXPECT_EQ(client.open(microphone).result, -206);
    client.waitForClosed();
    client.finalize();
}

SCENARIO(
    SuccessCodes, Discovery_GoesOn,
    "A default device that is told with a success other than 0 is told, and a list that is made with one is made: "
    "the scan goes on with the next call.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("GetDeviceID").onCall(1).fails(kOddSuccess);
    sim.on("GetDeviceID").onCall(2).fails(kOddSuccess);
    sim.on("DirectSoundEnumerateW").onCall(1).fails(kOddSuccess);
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(sim.count("GetDeviceID"), 2u);
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 1u);
    EXPECT_EQ(sim.count("DirectSoundCaptureEnumerateW"), 1u);
    client.finalize();
}
