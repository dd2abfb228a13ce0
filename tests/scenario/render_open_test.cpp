// Opening a playback device: order of calls, formats, failures.
#include "scenario.h"

namespace {

struct SpeakerCase {
    DWORD config;
    DWORD geometry;
    std::uint32_t channels;
    std::uint32_t mask;
};

} // namespace

SCENARIO(RenderOpen, Calls_ComeInTheirOrder,
         "Open creates device object, primary buffer and a one-second secondary buffer, in this order of calls.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    std::vector<std::string> calls;
    for (const std::string prefix : {"DirectSoundCreate8", "DirectSound.", "Primary.", "Secondary."}) {
        for (const CallRecord& call : sim.script().callsBeginning(prefix))
            calls.push_back(call.name + (call.arguments.empty() ? "" : " " + call.arguments));
    }
    const std::string format = "extensible 2 x 48000 x 16 align 4 bytes/s 192000 extra 22 mask 0x3";
    EXPECT_EQ(calls, (std::vector<std::string>{
                         "DirectSoundCreate8", //
                         "DirectSound.GetCaps", "DirectSound.SetCooperativeLevel window level 2",
                         "DirectSound.CreatePrimary size 40 flags 1 bytes 0", "DirectSound.GetSpeakerConfig",
                         "DirectSound.CreateSecondary size 40 flags 98304 bytes 192000 " + format, //
                         "Primary.SetFormat " + format, "Primary.GetFormat capacity 40",           //
                         "Secondary.QueryInterface", "Secondary.Release", "Secondary.GetFormat capacity 4000",
                         "Secondary.GetCaps"}));
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderOpen, SpeakerConfiguration_MakesChannelsAndMask,
         "Each speaker configuration gives its channel count and mask.") {
    const SpeakerCase cases[] = {
        {1, 0, 2, 3},     {2, 0, 1, 4},    {3, 0, 4, 0x33}, {4, 20, 2, 3},    {4, 180, 2, 3},
        {5, 0, 4, 0x107}, {6, 0, 6, 0x3F}, {7, 0, 8, 0xFF}, {8, 0, 8, 0x63F}, {9, 0, 6, 0x60F},
    };
    EXPECT_EQ(client.initialize(), 0);
    Device& speaker = sim.playback("Speaker");
    std::uint32_t contextId = 1;
    for (const SpeakerCase& c : cases) {
        speaker.speakers(c.config, c.geometry);
        const Opened opened = client.open(speaker, contextId);
        EXPECT_EQ(opened.result, 0) << c.config;
        EXPECT_EQ(opened.channels, c.channels) << c.config;
        EXPECT_EQ(opened.mask, c.mask) << c.config;
        EXPECT_EQ(client.close(speaker, contextId++), 0);
    }
    client.waitForClosed();
    client.finalize();
}

SCENARIO(RenderOpen, RateRange_ChoosesBetween48And44,
         "48000 Hz is preferred when the device's range covers it, 44100 Hz otherwise, on both sides of each edge.") {
    struct Case {
        DWORD lowest, highest, rate;
    };
    EXPECT_EQ(client.initialize(), 0);
    Device& speaker = sim.playback("Speaker");
    std::uint32_t contextId = 1;
    for (const Case c : {Case{100, 48000, 48000}, Case{100, 47999, 44100}, Case{48000, 96000, 48000}}) {
        speaker.rates(c.lowest, c.highest);
        EXPECT_EQ(client.open(speaker, contextId).rate, c.rate) << c.lowest << ".." << c.highest;
        EXPECT_EQ(client.close(speaker, contextId++), 0);
    }
    speaker.rates(48001, 96000);
    EXPECT_EQ(client.open(speaker, contextId).result, -226) << "44100 Hz is asked for, and the device refuses it";
    EXPECT_NE(sim.calls("Primary.SetFormat").back().arguments.find("44100"), std::string::npos);
    client.waitForClosed();
    client.finalize();
}

SCENARIO(RenderOpen, EmulatedDriver_IsWarnedOf, "An emulated driver is warned of at level 2 and gets ten blocks.") {
    Device& speaker = sim.playback("Speaker").emulated();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    expectLog(2, speaker,
              "Opening emulated direct sound device. This is bad for latency. Please enable hardware accelleration.");
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(500);
    client.closeAndFinalize({&speaker});
    EXPECT_EQ(speaker.checkHeard().leadIn(), 10 * 960u);
    EXPECT_EQ(client.logTexts(2).size(), 1u);
}

SCENARIO(RenderOpen, PrimaryRefusesEverything_WarnsAndTakesItsFormat,
         "A primary buffer that refuses all formats is warned of, and its own format is used.") {
    Device& speaker =
        sim.playback("Speaker").primaryRefuses(DSERR_BADFORMAT).primaryKeeps({1, 22050, 8, std::nullopt});
    EXPECT_EQ(client.initialize(), 0);
    const Opened opened = client.open(speaker);
    EXPECT_EQ(opened.result, 0);
    EXPECT_EQ(opened.channels, 1u);
    EXPECT_EQ(opened.rate, 22050u);
    EXPECT_EQ(opened.bits, 16u);
    EXPECT_EQ(opened.mask, 4u);
    expectTrouble({"Could not set preferred format for playback"});
    EXPECT_EQ(sim.calls("Primary.SetFormat").size(), 3u);
    EXPECT_NE(sim.calls("DirectSound.CreateSecondary").at(0).arguments.find("bytes 44100 "), std::string::npos)
        << "fifty times 441 frames of two bytes";
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderOpen, PrimaryTakesPlain48_IsNoTrouble,
         "A primary buffer that refuses the extensible format but takes plain 48000 Hz is no reason to warn.") {
    Device& speaker = sim.playback("Speaker").primaryAnswers(
        [](const Format& format) { return format.mask ? DSERR_BADFORMAT : DS_OK; });
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).rate, 48000u);
    expectTrouble({});
    const auto calls = sim.calls("Primary.SetFormat");
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[1].arguments, "pcm 2 x 44100 x 16 align 4 bytes/s 176400 extra 0");
    EXPECT_EQ(calls[2].arguments, "pcm 2 x 48000 x 16 align 4 bytes/s 192000 extra 0");
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderOpen, PrimaryTakesOnly44_IsWarnedOfAndUsed,
         "When only plain 44100 Hz is taken the warning comes all the same, and 44100 Hz is used.") {
    Device& speaker = sim.playback("Speaker").primaryAnswers(
        [](const Format& format) { return !format.mask && format.rate == 44100 ? DS_OK : DSERR_BADFORMAT; });
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).rate, 44100u);
    expectTrouble({"Could not set preferred format for playback"});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderOpen, DirectOut_TakesThePrimaryFormat,
         "A direct-out configuration has no channels: the formats are refused and the primary's own one is used.") {
    Device& speaker = sim.playback("Speaker").speakers(0);
    EXPECT_EQ(client.initialize(), 0);
    const Opened opened = client.open(speaker);
    EXPECT_EQ(opened.result, 0);
    EXPECT_EQ(opened.channels, 2u);
    EXPECT_EQ(opened.mask, 3u);
    expectTrouble({"Could not set preferred format for playback"});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderOpen, EachFailingCall_AnswersItsCodeAndLine,
         "Every failing call of open answers its own code, logs one line at level 1 and leaves nothing behind.") {
    const std::vector<std::pair<std::string, BackendResult>> cases = {
        {"CLSIDFromString", -202},           {"DirectSoundCreate8", -228},
        {"DirectSound.GetCaps", -230},       {"DirectSound.SetCooperativeLevel", -229},
        {"DirectSound.CreatePrimary", -227}, {"DirectSound.GetSpeakerConfig", -234},
        {"Primary.GetFormat", -215},         {"DirectSound.CreateSecondary", -226},
        {"Secondary.QueryInterface", -226},  {"Secondary.GetFormat", -214},
        {"Secondary.GetCaps", -230},
    };
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    for (const auto& [call, code] : cases) {
        Rule& rule = sim.on(call).onCall(1).fails(DSERR_NODRIVER);
        client.logs.clear();
        EXPECT_EQ(client.open(speaker).result, code) << call;
        EXPECT_EQ(rule.hits(), 1u) << call;
        expectTrouble({"unknown error: No sound driver is available for use (0x88780078)"});
        EXPECT_TRUE(sim.sound().living(speaker).empty()) << call;
    }
    client.finalize();
}

SCENARIO(RenderOpen, IdentifierThatIsNoGuid_AnswersMinus202,
         "An identifier that is not a GUID text answers -202; nothing has been created.") {
    EXPECT_EQ(client.initialize(), 0);
    sim.system().messages[0x800401F3] = L"Invalid class string\r\n";
    EXPECT_EQ(client.open(1, "no guid").result, -202);
    EXPECT_EQ(client.open(1, "").result, -202);
    EXPECT_EQ(sim.count("DirectSoundCreate8"), 0u);
    expectTrouble({"unknown error: Invalid class string", "unknown error: Invalid class string"});
    client.finalize();
}
