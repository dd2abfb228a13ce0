// The formats that a playback device is asked for, and what becomes of the ones that it has.
#include "render_support.h"

using namespace scenario::render;

namespace scenario {
namespace {

std::string extensible(unsigned channels, unsigned rate, const std::string& mask) {
    const unsigned align = channels * 2;
    return "extensible " + std::to_string(channels) + " x " + std::to_string(rate) + " x 16 align " +
           std::to_string(align) + " bytes/s " + std::to_string(align * rate) + " extra 22 mask 0x" + mask;
}

std::string secondary(unsigned bytes, const std::string& format) {
    return "size 40 flags 98304 bytes " + std::to_string(bytes) + " " + format;
}

} // namespace
} // namespace scenario

SCENARIO(
    RenderFormat, SpeakerConfiguration_IsAskedForAsExtensibleFormat,
    "Every speaker configuration asks the primary buffer for its channels and mask in the extensible form; stereo "
    "of the greatest geometry is like headphones.") {
    struct Case {
        DWORD config, geometry;
        unsigned channels;
        std::string mask;
    };
    const std::vector<Case> cases = {
        {1, 0, 2, "3"},   {2, 0, 1, "4"},   {3, 0, 4, "33"},   {4, 0, 2, "3"},   {4, 5, 2, "3"},  {4, 20, 2, "3"},
        {4, 179, 2, "3"}, {4, 180, 2, "3"}, {4, 181, 2, "3"},  {5, 0, 4, "107"}, {6, 0, 6, "3f"}, {7, 0, 8, "ff"},
        {8, 0, 8, "63f"}, {9, 0, 6, "60f"}, {6, 180, 6, "3f"}, {2, 180, 1, "4"},
    };
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const Case& c : cases) {
        speaker.speakers(c.config, c.geometry);
        const Opened opened = client.open(speaker, contextId);
        EXPECT_EQ(opened.result, 0);
        EXPECT_EQ(opened.channels, c.channels);
        EXPECT_EQ(opened.mask, std::stoul(c.mask, nullptr, 16));
        EXPECT_EQ(sim.calls("Primary.SetFormat").back().arguments, extensible(c.channels, 48000, c.mask))
            << c.config << " " << c.geometry;
        EXPECT_EQ(sim.calls("DirectSound.CreateSecondary").back().arguments,
                  secondary(c.channels * 2 * 960 * 50, extensible(c.channels, 48000, c.mask)));
        EXPECT_EQ(client.close(speaker, contextId++), 0);
        client.waitForClosed();
    }
    expectTrouble({});
    client.finalize();
}

SCENARIO(RenderFormat, UnknownSpeakers_AskForNoChannels,
         "Direct out and configurations that nobody knows ask for a format without channels, then for the two plain "
         "ones, warn, and take the primary buffer's own format.") {
    const std::vector<DWORD> configs = {0, 10, 255};
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const DWORD config : configs) {
        speaker.speakers(config, 180);
        EXPECT_EQ(client.open(speaker, contextId).result, 0);
        EXPECT_EQ(client.close(speaker, contextId++), 0);
    }
    client.waitForClosed();
    const auto calls = sim.calls("Primary.SetFormat");
    ASSERT_EQ(calls.size(), 9u);
    for (std::size_t i = 0; i < calls.size(); i += 3) {
        EXPECT_EQ(calls[i].arguments, extensible(0, 48000, "0"));
        EXPECT_EQ(calls[i + 1].arguments, "pcm 0 x 44100 x 16 align 0 bytes/s 0 extra 0");
        EXPECT_EQ(calls[i + 2].arguments, "pcm 0 x 48000 x 16 align 0 bytes/s 0 extra 0");
    }
    for (const CallRecord& call : sim.calls("DirectSound.CreateSecondary"))
        EXPECT_EQ(call.arguments, secondary(192000, extensible(2, 48000, "3")));
    const std::string warning = "Could not set preferred format for playback";
    expectTrouble({warning, warning, warning});
    expectLog(2, speaker, warning);
    client.finalize();
}

SCENARIO(RenderFormat, RateRange_DecidesAtItsEdges,
         "48000 Hz is asked for when the lowest rate is at most and the highest at least 48000 Hz, else 44100 Hz.") {
    struct Case {
        DWORD lowest, highest;
        unsigned asked;
    };
    const std::vector<Case> cases = {
        {100, 47999, 44100},   {100, 48000, 48000},   {100, 48001, 48000},   {47999, 96000, 48000},
        {48000, 96000, 48000}, {48001, 96000, 44100}, {48000, 48000, 48000}, {0, 0, 44100},
    };
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const Case& c : cases) {
        speaker.rates(c.lowest, c.highest);
        const Opened opened = client.open(speaker, contextId);
        EXPECT_EQ(sim.calls("Primary.SetFormat").back().arguments, extensible(2, c.asked, "3"))
            << c.lowest << ".." << c.highest;
        if (opened.result == 0) {
            EXPECT_EQ(opened.rate, c.asked);
            EXPECT_EQ(client.close(speaker, contextId), 0);
        }
        ++contextId;
    }
    client.waitForClosed();
    client.finalize();
}

SCENARIO(RenderFormat, RefusedWithout48k_IsNotTriedAgain,
         "When 44100 Hz was preferred and is refused, nothing else is tried: the warning comes and the primary "
         "buffer's own format is used.") {
    Device& speaker = sim.playback("Speaker").rates(100, 47999).primaryRefuses(DSERR_BADFORMAT);
    speaker.primaryFormat = {1, 22050, 16, std::nullopt};
    EXPECT_EQ(client.initialize(), 0);
    const Opened opened = client.open(speaker);
    EXPECT_EQ(opened.result, 0);
    EXPECT_EQ(opened.rate, 22050u);
    EXPECT_EQ(opened.channels, 1u);
    EXPECT_EQ(opened.mask, 4u);
    EXPECT_EQ(sim.calls("Primary.SetFormat").size(), 1u);
    expectTrouble({"Could not set preferred format for playback"});
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderFormat, Plain48kTakenAfterPlain44k_DecidesTheRate,
    "The plain formats are tried at 44100 and then at 48000 Hz; when both are taken the device runs at 48000 Hz.") {
    std::vector<DWORD> plain;
    Device& speaker = sim.playback("Speaker").speakers(6).primaryAnswers([&](const Format& format) {
        if (!format.mask)
            plain.push_back(format.rate);
        return format.mask ? DSERR_BADFORMAT : DS_OK;
    });
    EXPECT_EQ(client.initialize(), 0);
    const Opened opened = client.open(speaker);
    EXPECT_EQ(opened.rate, 48000u);
    EXPECT_EQ(opened.mask, 0x3Fu);
    EXPECT_EQ(plain, (std::vector<DWORD>{44100, 48000}));
    EXPECT_EQ(sim.calls("Primary.SetFormat").back().arguments, "pcm 6 x 48000 x 16 align 12 bytes/s 576000 extra 0");
    expectTrouble({});
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderFormat, Only44kTaken_WarnsAndRunsAt44k,
    "When the plain 44100 Hz is taken and the plain 48000 Hz refused, the warning comes and the buffer is made for "
    "44100 Hz.") {
    Device& speaker = sim.playback("Speaker").primaryAnswers(
        [](const Format& format) { return format.rate == 44100 ? DS_OK : DSERR_BADFORMAT; });
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).rate, 44100u);
    EXPECT_EQ(sim.calls("Primary.SetFormat").size(), 3u);
    EXPECT_EQ(sim.calls("DirectSound.CreateSecondary").at(0).arguments,
              secondary(882 * 4 * 50, extensible(2, 44100, "3")));
    expectLog(2, speaker, "Could not set preferred format for playback");
    expectTrouble({"Could not set preferred format for playback"});
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderFormat, PrimaryWithOtherChannels_ChangesTheMask,
    "A primary buffer with another channel count than asked for gives one channel the mask 4, two the mask 3, and "
    "keeps the mask otherwise.") {
    struct Case {
        DWORD config;
        WORD kept;
        std::string mask;
    };
    const std::vector<Case> cases = {
        {4, 1, "4"},                // stereo asked, mono had
        {6, 1, "4"},                // 5.1
        {6, 2, "3"},                // 5.1
        {2, 2, "3"},                // mono asked, stereo had
        {4, 6, "3"},                // the mask of stereo stays
        {1, 6, "3"},                // headphones: as the two front speakers
        {2, 6, "4"},                // mono: as the front centre
        {6, 8, "3f"},               // the mask of 5.1 stays
        {7, 6, "ff"}, {0, 6, "0"},  // direct out has none
        {0, 1, "4"},  {3, 4, "33"}, // the same count: nothing changes
    };
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const Case& c : cases) {
        speaker.speakers(c.config).primaryKeeps({c.kept, 48000, 16, std::nullopt});
        const Opened opened = client.open(speaker, contextId);
        EXPECT_EQ(opened.result, 0);
        EXPECT_EQ(opened.channels, c.kept);
        EXPECT_EQ(opened.mask, std::stoul(c.mask, nullptr, 16)) << c.config << " " << c.kept;
        EXPECT_EQ(sim.calls("DirectSound.CreateSecondary").back().arguments,
                  secondary(c.kept * 2u * 960 * 50, extensible(c.kept, 48000, c.mask)));
        EXPECT_EQ(client.close(speaker, contextId++), 0);
        client.waitForClosed();
    }
    client.finalize();
}

SCENARIO(RenderFormat, BufferSize_IsFiftyTruncatedBlocks,
         "The buffer holds fifty blocks of 20 ms, whose frames are rounded down, of 16-bit samples at the primary "
         "buffer's rate and channel count.") {
    struct Case {
        WORD channels;
        DWORD rate;
        WORD bits;
        unsigned bytes;
    };
    const std::vector<Case> cases = {
        {2, 48000, 16, 192000}, {2, 44100, 16, 176400}, {1, 44100, 16, 88200},   {2, 11025, 16, 44000},
        {2, 22050, 16, 88200},  {2, 8000, 16, 32000},   {2, 47999, 16, 191800},  {2, 48049, 16, 192000},
        {2, 48050, 16, 192200}, {2, 96000, 16, 384000}, {2, 192000, 24, 768000}, {1, 22050, 8, 44100},
    };
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const Case& c : cases) {
        speaker.primaryKeeps({c.channels, c.rate, c.bits, std::nullopt});
        const Opened opened = client.open(speaker, contextId);
        EXPECT_EQ(opened.result, 0);
        EXPECT_EQ(opened.rate, c.rate);
        EXPECT_EQ(opened.bits, 16u);
        EXPECT_EQ(sim.calls("DirectSound.CreateSecondary").back().arguments,
                  secondary(c.bytes, extensible(c.channels, c.rate, c.channels == 1 ? "4" : "3")));
        EXPECT_EQ(client.close(speaker, contextId++), 0);
        client.waitForClosed();
    }
    client.finalize();
}

SCENARIO(
    RenderFormat, BufferFormat_IsWhatTheClientIsTold,
    "The client is told the format that the buffer reports, an extensible mask unchanged; plain mono has the mask "
    "0x40000000 and plain stereo 3.") {
    struct Case {
        Format kept;
        std::uint32_t mask;
    };
    const std::vector<Case> cases = {
        {{2, 48000, 16, 0x600, {}}, 0x600},
        {{1, 48000, 16, 4, {}}, 4},
        {{1, 48000, 16, std::nullopt, {}}, 0x40000000},
        {{2, 44100, 16, std::nullopt, {}}, 3},
        {{6, 32000, 16, 0x60F, {}}, 0x60F},
    };
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const Case& c : cases) {
        speaker.bufferReports(c.kept);
        const Opened opened = client.open(speaker, contextId);
        EXPECT_EQ(opened.result, 0);
        EXPECT_EQ(opened.channels, c.kept.channels);
        EXPECT_EQ(opened.rate, c.kept.rate);
        EXPECT_EQ(opened.bits, 16u);
        EXPECT_EQ(opened.mask, c.mask);
        EXPECT_EQ(client.close(speaker, contextId++), 0);
    }
    client.waitForClosed();
    client.finalize();
}

SCENARIO(RenderFormat, SenselessBufferFormat_IsRefused,
         "A buffer that reports a format in which no 16-bit audio can move is refused with -214 and the line of a "
         "format that is not supported.") {
    const std::vector<Format> senseless = {
        {2, 0, 16, 3, {}},          {0, 48000, 16, 3, {}},      {2, 48000, 8, 3, {}},       {2, 48000, 24, 3, {}},
        {2, 48000, 32, 3, {}},      {2, 48000, 0, 3, {}},       {2, 49, 16, 3, {}}, // not one frame in 20 ms
        {2, 48000, 16, 3, WORD{0}}, {2, 48000, 16, 3, WORD{2}}, {2, 48000, 16, 3, WORD{8}},
    };
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    for (const Format& format : senseless) {
        client.logs.clear();
        speaker.bufferReports(format);
        EXPECT_EQ(client.open(speaker).result, -214)
            << format.channels << " x " << format.rate << " x " << format.bits;
        expectTrouble({kBadFormat});
        expectLog(1, speaker, kBadFormat);
        EXPECT_TRUE(sim.sound().living(speaker).empty());
    }
    EXPECT_EQ(sim.count("Secondary.GetCaps"), 0u);
    speaker.bufferReports({2, 50, 16, 3, {}});
    EXPECT_EQ(client.open(speaker).result, 0) << "one frame in 20 ms is audio";
    client.closeAndFinalize({&speaker});
}
