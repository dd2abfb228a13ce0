// The format of a capture device: what is chosen, and what the driver makes of it.
#include "capture_scenario.h"

namespace scenario {

// A driver that delivers another format than it was asked for: two lines, and the open succeeds.
static void expectOtherFormat(Simulation& sim, Client& client, const Format& delivered, const std::string& got) {
    Device& microphone = sim.capture("Microphone").bufferKeeps(delivered);
    EXPECT_EQ(client.initialize(), 0);
    const std::size_t before = client.logs.size();
    const Opened opened = client.open(microphone);
    EXPECT_EQ(opened.result, 0);
    EXPECT_EQ(opened.channels, delivered.channels);
    EXPECT_EQ(opened.bits, delivered.bits);
    EXPECT_EQ(opened.rate, delivered.rate);
    ASSERT_EQ(client.logs.size(), before + 2);
    const LogLine& asked = client.logs.at(before);
    EXPECT_EQ(asked.text, "capture open requested 48000 16 2");
    EXPECT_EQ(asked.level, 3);
    EXPECT_EQ(asked.category, microphone.id());
    const LogLine& told = client.logs.at(before + 1);
    EXPECT_EQ(told.text, got);
    EXPECT_EQ(told.level, 1);
    EXPECT_EQ(told.category, microphone.id());
    client.closeAndFinalize({&microphone});
}

static void expectSenseless(Simulation& sim, Client& client, const Format& delivered) {
    Device& microphone = sim.capture("Microphone").bufferKeeps(delivered);
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, -212);
    EXPECT_EQ(client.logTexts(1), std::vector<std::string>{kBadFormatLine});
    EXPECT_EQ(client.logs.back().category, microphone.id());
    EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{});
    client.finalize();
}

} // namespace scenario

SCENARIO(CaptureFormat, EveryCombinationOfBits_GivesTheFirstOfTheOrder,
         "Of the 48 kHz formats that a device offers the first of stereo 16, mono 16, stereo 8 and mono 8 bits is "
         "taken.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    for (DWORD offered = 1; offered < 16; ++offered) {
        const DWORD bits = offered << 12;
        // The formats of all other rates are offered, too, and make no difference.
        microphone.captureFormats(bits | 0xFFFF0FFF);
        const Opened opened = client.open(microphone);
        EXPECT_EQ(opened.result, 0);
        EXPECT_EQ(opened.rate, 48000u);
        const bool stereo = (bits & 0x8000) != 0 || ((bits & 0x4000) == 0 && (bits & 0x2000) != 0);
        EXPECT_EQ(opened.channels, stereo ? 2u : 1u) << offered;
        EXPECT_EQ(opened.bits, (bits & 0xC000) != 0 ? 16u : 8u) << offered;
        EXPECT_EQ(opened.mask, stereo ? 3u : 0x40000000u) << offered;
        EXPECT_EQ(client.close(microphone), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
    }
    expectTrouble({});
    client.finalize();
}

SCENARIO(CaptureFormat, EachFormat_GetsABufferOfOneSecond,
         "The capture buffer lasts one second in each format: 192000, 96000, 96000 or 48000 bytes.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    for (const DWORD bits : {0x8000u, 0x4000u, 0x2000u, 0x1000u}) {
        EXPECT_EQ(client.open(microphone.captureFormats(bits)).result, 0);
        EXPECT_EQ(client.close(microphone), 0);
    }
    client.waitForClosed();
    client.finalize();
    const std::vector<CallRecord> calls = sim.calls("DirectSoundCapture.CreateBuffer");
    ASSERT_EQ(calls.size(), 4u);
    const std::string begin = "size 40 flags 0 bytes ";
    EXPECT_EQ(calls[0].arguments, begin + "192000 pcm 2 x 48000 x 16 align 4 bytes/s 192000 extra 0");
    EXPECT_EQ(calls[1].arguments, begin + "96000 pcm 1 x 48000 x 16 align 2 bytes/s 96000 extra 0");
    EXPECT_EQ(calls[2].arguments, begin + "96000 pcm 2 x 48000 x 8 align 2 bytes/s 96000 extra 0");
    EXPECT_EQ(calls[3].arguments, begin + "48000 pcm 1 x 48000 x 8 align 1 bytes/s 48000 extra 0");
}

SCENARIO(CaptureFormat, No48kHzFormat_OpenNeverReturnsAndSleeps,
         "A device without any 48 kHz format is searched for ever, without burning a core and without a word.") {
    endsStuck = true;
    Device& microphone = sim.capture("Microphone").captureFormats(0xFFFF0FFF).emulated();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(hangs([&] { client.open(microphone); }, 100));
    // A round lasts at least a millisecond, and there are many rounds.
    EXPECT_GT(sim.count("Sleep"), 10u);
    EXPECT_LE(sim.count("Sleep"), 100'000u);
    EXPECT_NE(sim.calls("Sleep").at(0).arguments, "0");
    EXPECT_EQ(sim.count("DirectSoundCapture.CreateBuffer"), 0u);
    expectTrouble({}); // the search comes before the warning of emulated drivers
}

SCENARIO(CaptureFormat, OtherRate_IsToldInTwoLinesAndAccepted,
         "A driver that delivers another rate is told of in two lines, and the client gets the delivered rate.") {
    expectOtherFormat(sim, client, {2, 44100, 16, std::nullopt}, "capture open got 44100 16 2");
}

SCENARIO(CaptureFormat, OtherSampleSize_IsToldInTwoLinesAndAccepted,
         "A driver that delivers another sample size is told of in two lines, "
         "and the client gets the delivered size.") {
    expectOtherFormat(sim, client, {2, 48000, 8, std::nullopt}, "capture open got 48000 8 2");
}

SCENARIO(CaptureFormat, OtherChannels_AreToldWithTheRequestedCount,
         "A driver that delivers other channels is told of in two lines, the "
         "second with the requested channel count.") {
    expectOtherFormat(sim, client, {1, 48000, 16, std::nullopt}, "capture open got 48000 16 2");
}

SCENARIO(CaptureFormat, EverythingOther_IsToldInTwoLines,
         "A driver that delivers another rate, size and channel count is told of in the same two lines.") {
    expectOtherFormat(sim, client, {4, 32000, 8, std::nullopt}, "capture open got 32000 8 2");
}

SCENARIO(CaptureFormat, OtherThanEachRequest_IsToldWithThatRequest,
         "The first line about another format tells what was requested: 48000, the chosen sample size and the chosen "
         "channels, of which the second line repeats the channels.") {
    Device& microphone = sim.capture("Microphone").bufferKeeps({2, 22050, 32, std::nullopt});
    EXPECT_EQ(client.initialize(), 0);
    struct Case {
        DWORD offered;
        const char* asked;
        const char* got;
    };
    for (const Case& c : {Case{0x8000, "capture open requested 48000 16 2", "capture open got 22050 32 2"},
                          Case{0x4000, "capture open requested 48000 16 1", "capture open got 22050 32 1"},
                          Case{0x2000, "capture open requested 48000 8 2", "capture open got 22050 32 2"},
                          Case{0x1000, "capture open requested 48000 8 1", "capture open got 22050 32 1"}}) {
        client.logs.clear();
        EXPECT_EQ(client.open(microphone.captureFormats(c.offered)).result, 0);
        EXPECT_EQ(client.logTexts(3), std::vector<std::string>{c.asked});
        EXPECT_EQ(client.logTexts(1), std::vector<std::string>{c.got});
        EXPECT_EQ(client.close(microphone), 0);
    }
    client.waitForClosed();
    client.finalize();
}

SCENARIO(CaptureFormat, RequestedFormat_IsNotToldAtAnyLevel,
         "A driver that delivers what it was asked for is not told of, whatever was asked for, and neither is one "
         "that describes it with a channel mask.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    client.logs.clear();
    for (const DWORD offered : {0x8000u, 0x4000u, 0x2000u, 0x1000u}) {
        EXPECT_EQ(client.open(microphone.captureFormats(offered)).result, 0);
        EXPECT_EQ(client.close(microphone), 0);
    }
    microphone.captureFormats(0x8000).bufferKeeps({2, 48000, 16, 0x600});
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_TRUE(client.logs.empty());
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureFormat, OtherFormatWithoutLogCallback_IsAccepted,
         "A client without a log callback gets the delivered format as well.") {
    Device& microphone = sim.capture("Microphone").bufferKeeps({1, 44100, 16, std::nullopt});
    client.callbacks.logMessage = nullptr;
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).rate, 44100u);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureFormat, ExtensibleRecord_PassesItsMaskWithoutALine,
         "A driver that describes the requested format with a channel mask passes "
         "that mask to the client, unremarked.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    const auto maskOf = [&](WORD channels, DWORD mask) {
        microphone.captureFormats(channels == 2 ? 0x8000 : 0x4000).bufferKeeps({channels, 48000, 16, mask});
        const Opened opened = client.open(microphone);
        EXPECT_EQ(opened.result, 0);
        client.close(microphone);
        return opened.mask;
    };
    EXPECT_EQ(maskOf(2, 3), 3u);
    EXPECT_EQ(maskOf(2, 0x600), 0x600u);
    EXPECT_EQ(maskOf(1, 4), 4u);
    EXPECT_EQ(maskOf(1, 0), 0u);
    expectTrouble({});
    client.waitForClosed();
    client.finalize();
}

SCENARIO(CaptureFormat, PlainFormatOfFourChannels_LeavesTheMaskAlone,
         "The channel mask of a plain format with more than two channels is left as the client set it.") {
    Device& microphone = sim.capture("Microphone").bufferKeeps({4, 48000, 16, std::nullopt});
    EXPECT_EQ(client.initialize(), 0);
    const Opened opened = client.open(microphone);
    EXPECT_EQ(opened.result, 0);
    EXPECT_EQ(opened.channels, 4u);
    EXPECT_EQ(opened.mask, kUntouched);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureFormat, NoChannels_IsRefused, "A delivered format without channels is refused with -212.") {
    expectSenseless(sim, client, {0, 48000, 16, std::nullopt});
}

SCENARIO(CaptureFormat, NoSampleSize_IsRefused, "A delivered format without a sample size is refused with -212.") {
    expectSenseless(sim, client, {2, 48000, 0, std::nullopt});
}

SCENARIO(CaptureFormat, NoRate_IsRefused, "A delivered format without a rate is refused with -212.") {
    expectSenseless(sim, client, {2, 0, 16, std::nullopt});
}

SCENARIO(CaptureFormat, RateOf49_IsRefused, "A delivered rate whose 20 ms hold no frame is refused with -212.") {
    expectSenseless(sim, client, {2, 49, 16, std::nullopt});
}

SCENARIO(
    CaptureFormat, SecondOf4GiB_IsRefused,
    "A delivered format of which a second has 2^32 bytes, so that their number becomes 0, is refused with -212.") {
    expectSenseless(sim, client, {1, 131072, 16, std::nullopt, 32768});
}

SCENARIO(CaptureFormat, RateOf50_IsAccepted, "A delivered rate whose 20 ms hold one frame is accepted.") {
    Device& microphone = sim.capture("Microphone").bufferKeeps({2, 50, 16, std::nullopt});
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).rate, 50u);
    client.closeAndFinalize({&microphone});
}
