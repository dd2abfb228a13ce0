// Naming the echo reference of a capture device.
#include "capture_scenario.h"

namespace scenario {

static void expectUntouched(const Associated& associated) {
    EXPECT_EQ(associated.mask, kUntouched);
    EXPECT_EQ(associated.bits, kUntouched);
    EXPECT_EQ(associated.rate, kUntouched);
    EXPECT_EQ(associated.counter, kUntouched);
}

// The export as it is, with any pointers.
static BackendResult associate(Simulation& sim, Client& client, const char* capture, const char* playback,
                               std::uint32_t* mask, std::uint32_t* bits, std::uint32_t* rate,
                               std::uint32_t* counter) {
    return sim.exports().orvosoundbackend_associateAECDevice(client.backend, capture, playback, 7, mask, bits, rate,
                                                             counter);
}

static Associated associateText(Simulation& sim, Client& client, const Device& capture, const std::string& playback) {
    Associated answer{};
    answer.result = associate(sim, client, capture.id().c_str(), playback.c_str(), &answer.mask, &answer.bits,
                              &answer.rate, &answer.counter);
    return answer;
}

// A call of an association fails: the code, the line, what is released, and that the pairing before it stays.
static void expectFailedAssociation(Simulation& sim, Client& client, const std::string& call, BackendResult code) {
    Device& speaker = sim.playback("Speaker").freezes();
    Device& headset = sim.playback("Headset");
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    openAndStart(client, speaker);
    speaker.jumps(140);
    sim.advance(50);
    EXPECT_EQ(client.associate(microphone, speaker).counter, 1u);
    sim.on(call).of("Headset").onCall(1).fails(kNoDriver);
    const Associated failed = client.associate(microphone, headset);
    EXPECT_EQ(failed.result, code);
    expectUntouched(failed);
    EXPECT_EQ(client.logTexts(1), std::vector<std::string>{kNoDriverLine});
    EXPECT_EQ(client.logs.back().category, microphone.id());
    EXPECT_EQ(sim.sound().living(headset), std::vector<std::string>{});
    move(sim, microphone, 20);
    ASSERT_EQ(client.captured.size(), 1u);
    EXPECT_EQ(referenceNumbers(client).at(0), 0u) << "the reference of the pairing before";
    EXPECT_EQ(client.associate(microphone, headset).counter, 2u);
    client.closeAndFinalize({&microphone, &speaker});
}

} // namespace scenario

SCENARIO(Association, Success_MakesTheseCallsOnTheCallersThread,
         "An association creates the playback device, reads its capabilities and speakers, and releases it again.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    const Associated answer = client.associate(microphone, speaker);
    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.mask, 3u);
    EXPECT_EQ(answer.bits, 16u);
    EXPECT_EQ(answer.rate, 48000u);
    EXPECT_EQ(answer.counter, 1u);
    EXPECT_EQ(callsOf(sim, speaker),
              (std::vector<std::string>{"DirectSoundCreate8", "DirectSound.GetCaps", "DirectSound.GetSpeakerConfig",
                                        "DirectSound.Release"}));
    for (const CallRecord& call : sim.script().callsBeginning("DirectSound.")) {
        EXPECT_EQ(call.thread, Scheduler::current()->name);
    }
    client.closeAndFinalize({&microphone});
    expectTrouble({});
}

SCENARIO(Association, PlaybackNotCreated_FailsAndKeepsThePairing,
         "An association whose playback device cannot be created answers -228 "
         "with a line; the pairing before stays.") {
    expectFailedAssociation(sim, client, "DirectSoundCreate8", -228);
}

SCENARIO(Association, CapabilitiesNotReadable_FailsAndKeepsThePairing,
         "An association whose playback device hides its capabilities answers -230; the pairing before stays.") {
    expectFailedAssociation(sim, client, "DirectSound.GetCaps", -230);
}

SCENARIO(Association, SpeakersNotReadable_FailsAndKeepsThePairing,
         "An association whose playback device hides its speakers answers -234; the pairing before stays.") {
    expectFailedAssociation(sim, client, "DirectSound.GetSpeakerConfig", -234);
}

SCENARIO(Association, AbsentPlaybackDevice_IsNotCreated,
         "An association with a playback device that is not plugged in answers -228.") {
    Device& speaker = sim.playback("Speaker").absent();
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    const Associated answer = client.associate(microphone, speaker);
    EXPECT_EQ(answer.result, -228);
    expectUntouched(answer);
    expectLog(1, microphone, kNoDriverLine);
    client.closeAndFinalize({&microphone});
}

SCENARIO(Association, IdentifierThatIsNoGuid_IsRefusedAndKeepsThePairing,
         "An association with something that is not a GUID text answers -202 "
         "with a line; the pairing before stays.") {
    sim.system().messages[0x800401F3] = L"Bad class text.\r\n";
    Device& speaker = sim.playback("Speaker").freezes();
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    openAndStart(client, speaker);
    speaker.jumps(140);
    sim.advance(50);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    for (const char* text : {"Speaker", "", "{00000001-0D50-0001-8000-000000000001"}) {
        const Associated answer = associateText(sim, client, microphone, text);
        EXPECT_EQ(answer.result, -202) << text;
        expectUntouched(answer);
    }
    const std::string line = "unknown error: Bad class text.";
    expectLog(1, microphone, line);
    expectTrouble({line, line, line});
    move(sim, microphone, 20);
    ASSERT_EQ(client.captured.size(), 1u);
    EXPECT_TRUE(client.captured.at(0).hasEcho);
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(Association, IdentifierOf254And255Bytes_ConvertsOrDoesNotFit,
         "A playback identifier of 254 bytes is looked at; one of 255 does not "
         "fit and answers -6 without a log line.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_EQ(associateText(sim, client, microphone, std::string(254, 'x')).result, -202);
    EXPECT_EQ(client.logTexts(1).size(), 1u);
    expectErrorLines({});
    const Associated answer = associateText(sim, client, microphone, std::string(255, 'x'));
    EXPECT_EQ(answer.result, -6);
    expectUntouched(answer);
    EXPECT_EQ(client.logTexts(1).size(), 1u);
    expectErrorLines({"buffer too small"});
    client.closeAndFinalize({&microphone});
}

SCENARIO(Association, IdentifierNotConvertible_AnswersMinusOne,
         "A playback identifier that the system cannot convert answers -1, told on standard error only.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    sim.system().messages[1113] = L"No mapping.";
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(1113);
    const Associated answer = client.associate(microphone, speaker);
    EXPECT_EQ(answer.result, -1);
    expectUntouched(answer);
    expectErrorLines({"error 1113: No mapping."});
    expectTrouble({});
    EXPECT_EQ(client.associate(microphone, speaker).counter, 1u);
    client.closeAndFinalize({&microphone});
}

SCENARIO(Association, CaptureDevice_IsLookedForFirst,
         "An association of a capture device that is not open answers -121, and one with a wrong number -144, "
         "whatever the other arguments are.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    expectUntouched(client.associate(microphone, speaker));
    EXPECT_EQ(client.associate(microphone, speaker).result, -121);
    EXPECT_EQ(client.associate(speaker, speaker).result, -121) << "open for playback only";
    EXPECT_EQ(client.dissociate(microphone), -121);
    EXPECT_EQ(client.open(microphone, 8).result, 0);
    expectUntouched(client.associate(microphone, speaker));
    EXPECT_EQ(client.associate(microphone, speaker).result, -144);
    EXPECT_EQ(client.dissociate(microphone), -144);
    EXPECT_EQ(associate(sim, client, microphone.id().c_str(), "x", nullptr, nullptr, nullptr, nullptr), -144);
    EXPECT_EQ(client.associate(microphone, speaker, 8).result, 0);
    EXPECT_EQ(client.close(microphone, 8), 0);
    client.closeAndFinalize({&speaker});
    expectTrouble({});
}

SCENARIO(Association, NullOutPointer_IsRefusedBeforeTheIdentifierIsRead,
         "Each null out-pointer of an association answers -10, before the playback identifier is looked at.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    for (int missing = 0; missing < 4; ++missing) {
        std::uint32_t values[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
        std::uint32_t* at[4] = {&values[0], &values[1], &values[2], &values[3]};
        at[missing] = nullptr;
        EXPECT_EQ(associate(sim, client, microphone.id().c_str(), "no GUID", at[0], at[1], at[2], at[3]), -10);
        for (const std::uint32_t value : values)
            EXPECT_EQ(value, kUntouched);
    }
    expectTrouble({});
    expectErrorLines({});
    client.closeAndFinalize({&microphone});
}

SCENARIO(Association, NullBackendAndNullCapture_AreRefused,
         "An association without a backend or without a capture identifier answers -10.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t value = kUntouched;
    EXPECT_EQ(associate(sim, client, nullptr, speaker.id().c_str(), &value, &value, &value, &value), -10);
    EXPECT_EQ(sim.exports().orvosoundbackend_associateAECDevice(nullptr, speaker.id().c_str(), nullptr, 7, nullptr,
                                                                nullptr, nullptr, nullptr),
              -10);
    EXPECT_EQ(value, kUntouched);
    client.finalize();
}

SCENARIO(Association, NullPlayback_EndsThePairingWithoutLookingAtTheOutPointers,
         "A null playback identifier ends the pairing and answers 0, also with "
         "null out-pointers and without a pairing.") {
    Device& speaker = sim.playback("Speaker").freezes();
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    openAndStart(client, speaker);
    EXPECT_EQ(client.dissociate(microphone), 0);
    speaker.jumps(180);
    sim.advance(50);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    move(sim, microphone, 20);
    std::uint32_t values[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
    EXPECT_EQ(
        associate(sim, client, microphone.id().c_str(), nullptr, &values[0], &values[1], &values[2], &values[3]), 0);
    for (const std::uint32_t value : values)
        EXPECT_EQ(value, kUntouched);
    move(sim, microphone, 20);
    EXPECT_EQ(client.dissociate(microphone), 0);
    EXPECT_EQ(referenceNumbers(client), (std::vector<std::uint64_t>{0, kNoReference}));
    EXPECT_EQ(client.associate(microphone, speaker).counter, 2u) << "ending a pairing does not count";
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(Association, EverySpeakerConfiguration_GivesItsMask,
         "Each speaker configuration gives the channel mask of its row; stereo at full width that of headphones.") {
    struct Row {
        DWORD config, geometry, mask;
    };
    const std::vector<Row> rows{
        {0, 0, 0},      {1, 0, 0x30000000}, {2, 0, 0x40000000},   {3, 0, 0x33},         {4, 0, 3},   {4, 5, 3},
        {4, 10, 3},     {4, 20, 3},         {4, 179, 3},          {4, 180, 0x30000000}, {4, 181, 3}, {5, 0, 0x107},
        {6, 0, 0x3F},   {7, 0, 0xFF},       {8, 0, 0x63F},        {9, 0, 0x60F},        {10, 0, 0},  {255, 0, 0},
        {3, 180, 0x33}, {6, 180, 0x3F},     {1, 180, 0x30000000}, {2, 180, 0x40000000}, {0, 180, 0}, {10, 180, 0}};
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    for (const Row& row : rows) {
        const Associated answer = client.associate(microphone, speaker.speakers(row.config, row.geometry));
        EXPECT_EQ(answer.result, 0);
        EXPECT_EQ(answer.mask, row.mask) << row.config << " " << row.geometry;
    }
    // The second and the fourth byte say nothing.
    EXPECT_EQ(client.associate(microphone, speaker.speakers(0x7700AB06)).mask, 0x3Fu);
    EXPECT_EQ(client.associate(microphone, speaker.speakers(0x77B4AB04)).mask, 0x30000000u);
    client.closeAndFinalize({&microphone});
}

SCENARIO(Association, Rate_Is48000WhenThePlaybackDeviceReachesIt,
         "The reference's rate is 48000 for a playback device that reaches 48000 Hz, and 44100 below.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_EQ(client.associate(microphone, speaker.rates(100, 47999)).rate, 44100u);
    EXPECT_EQ(client.associate(microphone, speaker.rates(100, 48000)).rate, 48000u);
    EXPECT_EQ(client.associate(microphone, speaker.rates(100, 48001)).rate, 48000u);
    EXPECT_EQ(client.associate(microphone, speaker.rates(96000, 192000)).rate, 48000u) << "the lowest does not count";
    EXPECT_EQ(client.associate(microphone, speaker.rates(100, 0)).rate, 44100u);
    client.closeAndFinalize({&microphone});
}

SCENARIO(Association, Counter_RisesByOnePerPairingAndDevice,
         "The counter of a capture device rises by one with every pairing, and starts anew when it is opened anew.") {
    Device& speaker = sim.playback("Speaker");
    Device& first = sim.capture("First");
    Device& second = sim.capture("Second");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(first).result, 0);
    EXPECT_EQ(client.open(second).result, 0);
    for (std::uint32_t i = 1; i <= 5; ++i)
        EXPECT_EQ(client.associate(first, speaker).counter, i);
    EXPECT_EQ(client.associate(second, speaker).counter, 1u);
    EXPECT_EQ(client.close(first), 0);
    EXPECT_EQ(client.open(first).result, 0);
    EXPECT_EQ(client.associate(first, speaker).counter, 1u);
    EXPECT_EQ(client.associate(second, speaker).counter, 2u);
    client.closeAndFinalize({&first, &second});
}

SCENARIO(Association, MemoryFailsAnywhere_AnswersMinusOneAndKeepsThePairing,
         "An association that runs out of memory answers -1, leaves no device behind and keeps the pairing before.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    std::uint32_t pairings = 0;
    unsigned failures = 0;
    for (unsigned n = 1; n < 20; ++n) {
        const Rule& rule = sim.on("malloc").onCall(n).maybe().fails();
        const Associated answer = client.associate(microphone, speaker);
        const bool refused = rule.hits() > 0;
        sim.script().clear();
        EXPECT_EQ(answer.result, refused ? -1 : 0);
        EXPECT_EQ(answer.counter, refused ? kUntouched : ++pairings);
        EXPECT_EQ(sim.sound().living(speaker), std::vector<std::string>{});
        failures += refused ? 1 : 0;
    }
    EXPECT_GT(failures, 0u);
    EXPECT_GT(pairings, 0u);
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}
