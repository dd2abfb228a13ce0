// Opening and closing devices: codes, their order, what is written, and what is given back.
#include "scenario.h"

#include <string>

using namespace std::string_literals;

namespace scenario {
namespace {

void expectUntouched(const Opened& opened) {
    EXPECT_EQ(opened.channels, kUntouched);
    EXPECT_EQ(opened.bits, kUntouched);
    EXPECT_EQ(opened.rate, kUntouched);
    EXPECT_EQ(opened.mask, kUntouched);
}

} // namespace
} // namespace scenario

SCENARIO(
    Registry, OpenTwice_IsRefusedPerDirection,
    "A device that is open answers -120 to another open, with the same or another context number, and goes on.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    EXPECT_EQ(client.open(speaker, 7).result, 0);
    const Opened again = client.open(speaker, 7);
    EXPECT_EQ(again.result, -120);
    scenario::expectUntouched(again);
    EXPECT_EQ(client.open(speaker, 8).result, -120);
    EXPECT_EQ(client.start(speaker, 7), 0);
    EXPECT_EQ(client.open(speaker, 7).result, -120);
    EXPECT_EQ(sim.count("DirectSoundCreate8"), 1u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Registry, SameIdentifierInBothDirections_IsOpenTwice,
         "One identifier may be open for playback and for capture at once, and each is closed for itself.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone").withGuid(speaker.guid());
    ASSERT_EQ(speaker.id(), microphone.id());
    client.initialize();
    EXPECT_EQ(client.open(speaker, 7).result, 0);
    EXPECT_EQ(client.open(microphone, 8).result, 0);
    EXPECT_EQ(client.close(microphone, 7), -144);
    EXPECT_EQ(client.close(microphone, 8), 0);
    client.waitForClosed();
    EXPECT_EQ(client.start(speaker, 7), 0);
    EXPECT_EQ(client.start(microphone, 8), -121);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Registry, Identifiers_AreComparedByteWise,
         "Identifiers are compared byte by byte: the lower-case form of an open device is not that device.") {
    const Device& speaker = sim.playback("Speaker").withGuid({0xABCDEF01, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}});
    client.initialize();
    EXPECT_EQ(client.open(speaker).result, 0);
    std::string lower = speaker.id();
    for (char& c : lower)
        c = static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
    ASSERT_NE(lower, speaker.id());
    const Exports& exports = sim.exports();
    EXPECT_EQ(exports.orvosoundbackend_closeDevice(client.backend, 1, lower.c_str(), 7), -121);
    EXPECT_EQ(exports.orvosoundbackend_closeDevice(client.backend, 1, "", 7), -121);
    EXPECT_EQ(client.open(1, lower, 9).result, 0);
    EXPECT_EQ(exports.orvosoundbackend_closeDevice(client.backend, 1, lower.c_str(), 9), 0);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Registry, DeviceThatIsNotOpen_AnswersToNothing,
         "Close, start and stop of a device that is not open in that direction answer -121.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(client.close(speaker), -121);
    EXPECT_EQ(client.start(speaker), -121);
    EXPECT_EQ(client.stop(speaker), -121);
    client.open(speaker);
    EXPECT_EQ(client.close(microphone), -121);
    EXPECT_EQ(client.start(microphone), -121);
    EXPECT_EQ(client.stop(microphone), -121);
    const std::string id = speaker.id();
    EXPECT_EQ(sim.exports().orvosoundbackend_startDevice(client.backend, 2, id.c_str(), 7), -121);
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.close(speaker), -121);
    EXPECT_EQ(client.start(speaker), -121);
    EXPECT_EQ(client.stop(speaker), -121);
    client.waitForClosed();
    client.finalize();
}

SCENARIO(Registry, OtherContextNumber_ChangesNothing,
         "Close, start and stop with another context number answer -144 and change nothing.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker, 7);
    EXPECT_EQ(client.start(speaker, 8), -144);
    EXPECT_EQ(sim.count("Secondary.Play"), 0u);
    EXPECT_EQ(client.start(speaker, 7), 0);
    EXPECT_EQ(client.stop(speaker, 0), -144);
    EXPECT_EQ(client.close(speaker, 0xFFFFFFFF), -144);
    sim.advance(200);
    const std::uint64_t before = client.requestCount;
    sim.advance(200);
    EXPECT_GT(client.requestCount, before);
    EXPECT_EQ(sim.count("Secondary.Stop"), 0u);
    client.closeAndFinalize({&speaker}, 7);
}

SCENARIO(Registry, CloseAndOpenAtOnce_Succeeds,
         "A device that was closed can be opened again at once, also while its old worker is still stopping.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker, 7);
    client.start(speaker, 7);
    sim.advance(100);
    sim.on("Secondary.Stop").onCall(1).takes(500);
    EXPECT_EQ(client.close(speaker, 7), 0);
    EXPECT_EQ(client.open(speaker, 8).result, 0);
    EXPECT_EQ(client.start(speaker, 8), 0);
    EXPECT_EQ(client.close(speaker, 7), -144);
    EXPECT_EQ(client.close(speaker, 8), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    client.finalize();
}

SCENARIO(Registry, Close_DoesNotWaitForTheDevice,
         "Close returns at once, however long the device takes to stop; the monitor ends it without delay.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(1250);
    sim.on("Secondary.Stop").takes(200);
    const double before = sim.now();
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_DOUBLE_EQ(sim.now(), before);
    sim.advance(199);
    EXPECT_FALSE(sim.sound().living(speaker).empty());
    sim.advance(2);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    client.finalize();
}

SCENARIO(Registry, StereoInAPlainFormat_HasMaskThree,
         "A two-channel device in a plain format reports mask 3, in both directions.") {
    const Device& speaker = sim.playback("Speaker").bufferReports({2, 44100, 16, std::nullopt});
    const Device& microphone = sim.capture("Microphone").bufferKeeps({2, 44100, 16, std::nullopt});
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        const Opened opened = client.open(*device);
        EXPECT_EQ(opened.result, 0);
        EXPECT_EQ(opened.channels, 2u);
        EXPECT_EQ(opened.bits, 16u);
        EXPECT_EQ(opened.rate, 44100u);
        EXPECT_EQ(opened.mask, 3u);
    }
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(Registry, MonoInAPlainFormat_HasTheMarkerMask,
         "A one-channel device in a plain format reports the mask 0x40000000, in both directions.") {
    const Device& speaker = sim.playback("Speaker").bufferReports({1, 22050, 16, std::nullopt});
    const Device& microphone = sim.capture("Microphone").bufferKeeps({1, 22050, 16, std::nullopt});
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        const Opened opened = client.open(*device);
        EXPECT_EQ(opened.result, 0);
        EXPECT_EQ(opened.channels, 1u);
        EXPECT_EQ(opened.rate, 22050u);
        EXPECT_EQ(opened.mask, 0x40000000u);
    }
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(Registry, ExtensibleFormat_PassesItsMaskOn,
         "A device in the extensible format reports that format's own mask, whatever its channels.") {
    const Device& mono = sim.playback("Mono").bufferReports({1, 48000, 16, 4});
    const Device& stereo = sim.playback("Stereo").bufferReports({2, 48000, 16, 0x600});
    const Device& surround = sim.playback("Surround").bufferReports({6, 48000, 16, 0x3F});
    client.initialize();
    EXPECT_EQ(client.open(mono).mask, 4u);
    EXPECT_EQ(client.open(stereo).mask, 0x600u);
    EXPECT_EQ(client.open(surround).mask, 0x3Fu);
    client.closeAndFinalize({&mono, &stereo, &surround});
}

SCENARIO(Registry, ManyChannelsInAPlainFormat_LeaveTheMaskUnwritten,
         "A device of more than two channels in a plain format reports all but the mask, which is not written.") {
    const Device& speaker = sim.playback("Speaker").bufferReports({4, 48000, 16, std::nullopt});
    client.initialize();
    const Opened opened = client.open(speaker);
    EXPECT_EQ(opened.result, 0);
    EXPECT_EQ(opened.channels, 4u);
    EXPECT_EQ(opened.bits, 16u);
    EXPECT_EQ(opened.rate, 48000u);
    EXPECT_EQ(opened.mask, kUntouched);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Registry, FailedOpen_GivesEverythingBackAndCanBeRepeated,
         "A failed open returns the failing step's code, writes no out-value, gives back thread and device at once, "
         "and does not register the device.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.advance(1);
    const std::size_t threads = sim.ledger().open(Kind::threadHandle);
    const std::size_t events = sim.ledger().open(Kind::event);
    const std::size_t sections = sim.ledger().open(Kind::section);
    const std::vector<std::pair<std::string, BackendResult>> steps = {{"DirectSoundCreate8", -228},
                                                                      {"DirectSound.SetCooperativeLevel", -229},
                                                                      {"DirectSound.CreateSecondary", -226},
                                                                      {"Secondary.GetCaps", -230}};
    for (const auto& [call, code] : steps) {
        sim.on(call).onCall(1).fails(DSERR_GENERIC);
        const Opened opened = client.open(speaker);
        EXPECT_EQ(opened.result, code) << call;
        scenario::expectUntouched(opened);
        EXPECT_TRUE(sim.sound().living(speaker).empty());
        EXPECT_EQ(sim.ledger().open(Kind::threadHandle), threads);
        EXPECT_EQ(sim.ledger().open(Kind::event), events);
        EXPECT_EQ(sim.ledger().open(Kind::section), sections);
        EXPECT_EQ(client.close(speaker), -121);
    }
    EXPECT_EQ(client.open(speaker).result, 0);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Registry, WorkerThreadThatCannotBeStarted_FailsTheOpen,
         "When the worker thread cannot be started, open answers -233 and gives everything back.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    sim.on("_beginthreadex").onCall(1).fails();
    sim.on("_beginthreadex").onCall(2).fails();
    const Opened playback = client.open(speaker);
    EXPECT_EQ(playback.result, -233);
    scenario::expectUntouched(playback);
    EXPECT_EQ(client.open(microphone).result, -233);
    EXPECT_EQ(client.close(speaker), -121);
    EXPECT_EQ(client.open(speaker).result, 0);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Registry, DeviceEventsThatCannotBeCreated_AreReportedInOneLine,
         "When a device's events cannot be created, one or both, standard error gets one line and open answers -233 "
         "without hanging and without a thread.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    const unsigned threads = sim.count("_beginthreadex");
    std::vector<std::string> lines;
    for (const auto& failing : std::vector<std::vector<unsigned>>{{1}, {2}, {1, 2}}) {
        sim.script().clear();
        for (const unsigned call : failing)
            sim.on("CreateEventW").onCall(call).fails();
        const Opened opened = client.open(speaker);
        EXPECT_EQ(opened.result, -233);
        scenario::expectUntouched(opened);
        lines.emplace_back("Error int CreateEvent");
        expectErrorLines(lines);
    }
    EXPECT_EQ(sim.count("_beginthreadex"), threads);
    EXPECT_EQ(client.open(speaker).result, 0);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Registry, OutOfMemoryAtOpen_FailsCleanly,
         "Whichever allocation of open fails, in the client's thread (-1) or in the worker (-233), nothing stays "
         "behind and the device can be opened afterwards.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.advance(1);
    unsigned byClient = 0;
    unsigned byWorker = 0;
    for (unsigned n = 1; n < 500; ++n) {
        const Rule& rule = sim.on("malloc").onCall(n).maybe().fails();
        const BackendResult result = client.open(speaker).result;
        const bool hit = rule.hits() > 0;
        sim.script().clear();
        if (result == 0) {
            EXPECT_EQ(client.close(speaker), 0);
            client.waitForClosed();
        } else {
            EXPECT_TRUE(result == -1 || result == -233) << "allocation " << n << ": " << result;
            EXPECT_EQ(client.close(speaker), -121);
            ++(result == -1 ? byClient : byWorker);
        }
        EXPECT_TRUE(sim.sound().living(speaker).empty());
        if (!hit)
            break;
    }
    EXPECT_GT(byClient, 1u);
    EXPECT_GE(byWorker, 1u);
    client.finalize();
}

SCENARIO(Registry, ComFailureOnTheWorker_HangsTheOpen,
         "When COM cannot be initialized on a worker, open waits without end, and the failure's text on standard "
         "error is the only report.") {
    const Device& speaker = sim.playback("Speaker");
    sim.system().messages[0x80010106] = L"Another apartment.";
    client.initialize();
    sim.advance(1);
    sim.on("CoInitializeEx").onCall(1).fails(static_cast<HRESULT>(0x80010106));
    EXPECT_TRUE(hangs([&] { client.open(speaker); }));
    expectErrorLines({"Another apartment.\0 (-2147417850)"s}); // the text and its end, as for every system text
    EXPECT_TRUE(client.logTexts(1).empty());
    EXPECT_EQ(sim.count("DirectSoundCreate8"), 0u);
    endsStuck = true; // the open still waits
}

SCENARIO(Registry, ComAlreadyInitialized_IsNoFailure,
         "A worker whose thread has COM initialized already opens its device all the same.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.advance(1);
    sim.on("CoInitializeEx")
        .onCall(1)
        .does([this] {
            sim.ledger().take(Kind::comInitialization, static_cast<std::uintptr_t>(Scheduler::current()->number),
                              "once more");
        })
        .fails(S_FALSE);
    EXPECT_EQ(client.open(speaker).result, 0);
    client.closeAndFinalize({&speaker});
    EXPECT_EQ(sim.count("CoUninitialize"), 2u);
}
