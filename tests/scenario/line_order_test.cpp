// When a line comes, next to other lines and to what the plug-in does.
#include "capture_scenario.h"
#include "render_support.h"

namespace scenario {
namespace {

const std::string kEmulated =
    "Opening emulated direct sound device. This is bad for latency. Please enable hardware accelleration.";
const std::string kNotPreferred = "Could not set preferred format for playback";

// What lived of a device while its line of level 1 was written.
std::vector<std::string> livingAtTheLine(Simulation& sim, Client& client, const Device& device,
                                         const std::function<void()>& action) {
    std::vector<std::string> living{"no line came"};
    client.onLog = [&](const LogLine& line) {
        if (line.level == 1)
            living = sim.sound().living(device);
    };
    action();
    client.onLog = nullptr;
    return living;
}

} // namespace
} // namespace scenario

SCENARIO(LineOrder, EmulatedPlayback_IsWarnedOfBetweenCapabilitiesAndCooperativeLevel,
         "The warning of an emulated playback driver comes when its capabilities are known, and before the "
         "cooperative level is set.") {
    const Device& speaker = sim.playback("Speaker").emulated();
    client.initialize();
    sim.on("DirectSound.GetCaps").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.open(speaker).result, -230);
    expectTrouble({kNoDriverLine});
    client.logs.clear();
    sim.on("DirectSound.SetCooperativeLevel").onCall(1).fails(DSERR_NODRIVER);
    client.onLog = [&](const LogLine& line) {
        EXPECT_EQ(sim.count("DirectSound.SetCooperativeLevel"), line.text == kEmulated ? 0u : 1u) << line.text;
    };
    EXPECT_EQ(client.open(speaker).result, -229);
    expectTrouble({kEmulated, kNoDriverLine});
    client.finalize();
}

SCENARIO(LineOrder, RefusedFormats_AreWarnedOfBeforeThePrimaryFormatIsRead,
         "The warning that no preferred format could be set comes before the primary buffer is asked for its own.") {
    const Device& speaker = sim.playback("Speaker").primaryRefuses(DSERR_BADFORMAT);
    client.initialize();
    sim.on("Primary.GetFormat").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.open(speaker).result, -215);
    expectTrouble({kNotPreferred, kNoDriverLine});
    client.finalize();
}

SCENARIO(LineOrder, EmulatedCapture_IsWarnedOfBetweenCapabilitiesAndBuffer,
         "The warning of an emulated capture driver comes when its capabilities are known, and before the buffer is "
         "created, also when another program has the device.") {
    Device& microphone = sim.capture("Microphone").emulated();
    client.initialize();
    sim.on("DirectSoundCapture.GetCaps").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.open(microphone).result, -230);
    expectTrouble({kNoDriverLine});
    client.logs.clear();
    sim.on("DirectSoundCapture.CreateBuffer").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.open(microphone).result, -207);
    expectTrouble({kEmulated, kNoDriverLine});
    client.logs.clear();
    EXPECT_EQ(client.open(microphone.allocatedByOthers()).result, -16);
    expectTrouble({kEmulated});
    client.finalize();
}

SCENARIO(LineOrder, OtherCaptureFormat_IsToldBeforeTheBuffersCapabilitiesAreRead,
         "The two lines about another capture format come when the format has been read, and before the buffer's "
         "capabilities are.") {
    const Device& microphone = sim.capture("Microphone").bufferKeeps({1, 44100, 16, std::nullopt});
    client.initialize();
    client.logs.clear();
    sim.on("CaptureBuffer.GetFormat").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.open(microphone).result, -212);
    ASSERT_EQ(client.logs.size(), 1u);
    EXPECT_EQ(client.logs[0].text, kNoDriverLine);
    client.logs.clear();
    sim.on("CaptureBuffer.GetCaps").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.open(microphone).result, -230);
    ASSERT_EQ(client.logs.size(), 3u);
    EXPECT_EQ(client.logs[0].text, "capture open requested 48000 16 2");
    EXPECT_EQ(client.logs[1].text, "capture open got 44100 16 2");
    EXPECT_EQ(client.logs[2].text, kNoDriverLine);
    client.finalize();
}

SCENARIO(LineOrder, PlaybackWithoutInterface_TheFirstBufferIsGoneBeforeTheLine,
         "A playback buffer without the version-8 interface is released before the failure is told; the rest is "
         "released later.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.on("Secondary.QueryInterface").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(scenario::livingAtTheLine(sim, client, speaker, [&] { EXPECT_EQ(client.open(speaker).result, -226); }),
              (std::vector<std::string>{"DirectSound", "Primary"}));
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    client.finalize();
}

SCENARIO(LineOrder, FailingAssociation_IsToldBeforeTheDeviceIsReleased,
         "An association tells of its failure first and releases the playback device then.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    client.open(microphone);
    for (const char* call : {"DirectSound.GetCaps", "DirectSound.GetSpeakerConfig"}) {
        sim.on(call).onCall(1).fails(DSERR_NODRIVER);
        EXPECT_EQ(scenario::livingAtTheLine(sim, client, speaker, [&] { client.associate(microphone, speaker); }),
                  std::vector<std::string>{"DirectSound"})
            << call;
        EXPECT_TRUE(sim.sound().living(speaker).empty()) << call;
    }
    client.closeAndFinalize({&microphone});
}

SCENARIO(
    LineOrder, SlowWaitsThatEndWithACommand_AreNotTold,
    "A wait of the playback loop that ends because of a command is not told, however long it took, and neither is "
    "its pass: that of the timed wait, and the look at the command after a block.") {
    Device& speaker = sim.playback("Speaker").freezes();
    client.initialize();
    for (const bool afterABlock : {false, true}) {
        client.open(speaker);
        const std::string event = render::commandEvent(sim);
        client.start(speaker);
        sim.advance(100);
        const auto slowWait = [this, event] { sim.on("WaitForSingleObject").of(event).onCall(1).takes(100); };
        if (afterABlock) {
            sim.on("Secondary.Unlock").onCall(1).does(slowWait);
            speaker.jumps(20);
        } else {
            slowWait();
        }
        sim.advance(60);
        EXPECT_EQ(client.stop(speaker), 0);
        sim.advance(100);
        EXPECT_EQ(client.start(speaker), -232);
        client.close(speaker);
        client.waitForClosed();
    }
    EXPECT_EQ(sim.count("Secondary.Stop"), 2u);
    expectTrouble({});
    client.finalize();
}
