// What a failing open of a playback device calls, releases and logs.
#include "render_support.h"

using namespace scenario::render;

namespace scenario {
namespace {

const std::vector<std::string> kWholeOpen = {
    "DirectSoundCreate8",        "DirectSound.GetCaps",          "DirectSound.SetCooperativeLevel",
    "DirectSound.CreatePrimary", "DirectSound.GetSpeakerConfig", "Primary.SetFormat",
    "Primary.GetFormat",         "DirectSound.CreateSecondary",  "Secondary.QueryInterface",
    "Secondary.Release",         "Secondary.GetFormat",          "Secondary.GetCaps",
};

// The calls up to and including the failing one, then what is released.
std::vector<std::string> upTo(const std::string& call, const std::vector<std::string>& released) {
    std::vector<std::string> calls(kWholeOpen.begin(), std::ranges::find(kWholeOpen, call) + 1);
    calls.insert(calls.end(), released.begin(), released.end());
    return calls;
}

} // namespace
} // namespace scenario

SCENARIO(RenderFailure, SuccessfulOpen_MakesTheseCallsOnly,
         "An open that succeeds makes twelve DirectSound calls in a fixed order, all on the device's worker.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(soundCalls(sim), kWholeOpen);
    for (const char* object : {"DirectSoundCreate8", "DirectSound.", "Primary.", "Secondary."}) {
        for (const CallRecord& call : sim.script().callsBeginning(object))
            EXPECT_EQ(call.thread, "thread2") << call.name;
    }
    expectTrouble({});
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderFailure, EachFailingCall_EndsTheOpenAndReleasesWhatWasCreated,
    "After a failing call open calls nothing more; primary buffer, buffer and device object are released in this "
    "order, as far as they exist, and the format is left untouched.") {
    struct Case {
        std::string call;
        BackendResult code;
        std::vector<std::string> released;
    };
    const std::vector<std::string> device = {"DirectSound.Release"};
    const std::vector<std::string> primary = {"Primary.Release", "DirectSound.Release"};
    const std::vector<std::string> all = {"Primary.Release", "Secondary.Release", "DirectSound.Release"};
    const std::vector<Case> cases = {
        {"DirectSoundCreate8", -228, {}},
        {"DirectSound.GetCaps", -230, device},
        {"DirectSound.SetCooperativeLevel", -229, device},
        {"DirectSound.CreatePrimary", -227, device},
        {"DirectSound.GetSpeakerConfig", -234, primary},
        {"Primary.GetFormat", -215, primary},
        {"DirectSound.CreateSecondary", -226, primary},
        {"Secondary.QueryInterface", -226, {"Secondary.Release", "Primary.Release", "DirectSound.Release"}},
        {"Secondary.GetFormat", -214, all},
        {"Secondary.GetCaps", -230, all},
    };
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    for (const Case& c : cases) {
        client.logs.clear();
        const std::size_t known = soundCalls(sim).size();
        sim.on(c.call).onCall(1).fails(DSERR_NODRIVER);
        const Opened opened = client.open(speaker);
        EXPECT_EQ(opened.result, c.code) << c.call;
        EXPECT_EQ(soundCallsAfter(sim, known), upTo(c.call, c.released)) << c.call;
        ASSERT_EQ(client.logs.size(), 1u) << c.call;
        expectLog(1, speaker, kNoDriver);
        for (const std::uint32_t written : {opened.channels, opened.bits, opened.rate, opened.mask})
            EXPECT_EQ(written, kUntouched) << c.call;
        EXPECT_EQ(client.start(speaker), -121) << "a device that did not open is not there";
    }
    EXPECT_EQ(client.open(speaker).result, 0) << "and can be opened when the fault is gone";
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderFailure, EachFailingCall_IsHarmlessWithoutALogCallback,
         "Without a log callback every failing call of open answers its code all the same.") {
    const std::vector<std::pair<std::string, BackendResult>> cases = {
        {"CLSIDFromString", -202},           {"DirectSoundCreate8", -228},
        {"DirectSound.GetCaps", -230},       {"DirectSound.SetCooperativeLevel", -229},
        {"DirectSound.CreatePrimary", -227}, {"DirectSound.GetSpeakerConfig", -234},
        {"Primary.GetFormat", -215},         {"DirectSound.CreateSecondary", -226},
        {"Secondary.QueryInterface", -226},  {"Secondary.GetFormat", -214},
        {"Secondary.GetCaps", -230},
    };
    client.callbacks.logMessage = nullptr;
    Device& speaker = sim.playback("Speaker").emulated().primaryRefuses(DSERR_BADFORMAT);
    EXPECT_EQ(client.initialize(), 0);
    for (const auto& [call, code] : cases) {
        sim.on(call).onCall(1).fails(DSERR_NODRIVER);
        EXPECT_EQ(client.open(speaker).result, code) << call;
    }
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_TRUE(client.logs.empty());
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderFailure, SuccessOtherThanZero_IsNoFailure,
         "A call of open that answers a success code other than 0 has not failed.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    sim.on("DirectSound.SetCooperativeLevel").fails(S_FALSE);
    // Without the level the simulated device creates no buffer: that it was asked to shows that open went on.
    EXPECT_EQ(client.open(speaker).result, -227);
    sim.script().clear();
    sim.on("Primary.SetFormat").fails(S_FALSE);
    sim.on("Secondary.GetCaps").fails(S_FALSE);
    client.logs.clear();
    EXPECT_EQ(client.open(speaker, 8).result, 0);
    EXPECT_EQ(sim.calls("Primary.SetFormat").size(), 1u);
    expectTrouble({});
    client.closeAndFinalize({&speaker}, 8);
}

SCENARIO(RenderFailure, VanishedDevice_AnswersMinus228,
         "A device that is gone answers -228 to an open, and nothing has been created.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    speaker.unplug();
    EXPECT_EQ(client.open(speaker).result, -228);
    EXPECT_EQ(soundCalls(sim), std::vector<std::string>{"DirectSoundCreate8"});
    expectTrouble({kNoDriver});
    client.finalize();
}

SCENARIO(
    RenderFailure, SystemError_IsLoggedUpToItsMessage,
    "An error that only the system knows is logged up to the end of the system's message, without its line end.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    sim.system().messages[0x80004005] = L"Unspecified error.\r\n";
    sim.on("DirectSound.GetCaps").fails(E_FAIL);
    EXPECT_EQ(client.open(speaker).result, -230);
    sim.system().messages[0x88780082] = L"";
    sim.on("DirectSoundCreate8").fails(static_cast<HRESULT>(0x88780082));
    EXPECT_EQ(client.open(speaker).result, -228);
    expectTrouble({"unknown error: Unspecified error.", "unknown error: Unknown error 0x88780082"});
    client.finalize();
}

SCENARIO(RenderFailure, IdentifierThatIsNoGuid_CallsNothingAfterTheConversion,
         "An identifier that is not a GUID text, the empty one included, answers -202 with one line and creates "
         "nothing.") {
    EXPECT_EQ(client.initialize(), 0);
    sim.system().messages[0x800401F3] = L"Invalid class string\r\n";
    for (const char* id : {"", "{00000001-0D50-0001-8000-000000000001", "Gerät", "{}"}) {
        client.logs.clear();
        EXPECT_EQ(client.open(1, id).result, -202) << id;
        ASSERT_EQ(client.logs.size(), 1u) << id;
        EXPECT_EQ(client.logs[0].category, id);
        EXPECT_EQ(client.logs[0].level, 1);
        EXPECT_EQ(client.logs[0].text, "unknown error: Invalid class string");
    }
    EXPECT_TRUE(soundCalls(sim).empty());
    expectErrorLines({});
    client.finalize();
}

SCENARIO(RenderFailure, IdentifierLength_IsLimitedTo254Units,
         "An identifier of 254 units is looked at; one of 255 answers -6 with \"buffer too small\" on standard error "
         "and no log line.") {
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(1, std::string(254, 'x')).result, -202);
    EXPECT_EQ(client.logTexts(1).size(), 1u);
    expectErrorLines({});
    client.logs.clear();
    EXPECT_EQ(client.open(1, std::string(255, 'x')).result, -6);
    EXPECT_EQ(client.open(1, std::string(10'000, 'x')).result, -6);
    EXPECT_TRUE(client.logs.empty());
    expectErrorLines({"buffer too small", "buffer too small"});
    EXPECT_EQ(sim.count("CLSIDFromString"), 1u);
    client.finalize();
}

SCENARIO(RenderFailure, IdentifierThatDoesNotConvert_AnswersMinus1,
         "An identifier whose conversion fails for another reason answers -1, with the system's error on standard "
         "error and no log line.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    sim.system().messages[1113] = L"No mapping";
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(1113);
    EXPECT_EQ(client.open(speaker).result, -1);
    EXPECT_TRUE(client.logTexts(1).empty());
    expectErrorLines({"error 1113: No mapping"});
    EXPECT_EQ(sim.count("CLSIDFromString"), 0u);
    client.finalize();
}
