// How the system is asked for messages and conversions: flags, lengths and capacities.
#include "discovery.h"

namespace scenario {
namespace {

// The arguments of all calls of a name since the n-th.
Texts argumentsSince(const Simulation& sim, const char* call, std::size_t first) {
    Texts arguments;
    const std::vector<CallRecord> calls = sim.calls(call);
    for (std::size_t i = first; i < calls.size(); ++i)
        arguments.push_back(calls[i].arguments);
    return arguments;
}

std::string utf8(int length, std::size_t capacity) {
    return "page 65001 flags 0 length " + std::to_string(length) + " capacity " + std::to_string(capacity);
}

// Allocated by the system, from the system, without inserts; neutral language of the user.
const std::string kMessage = "flags 4864 language 1024";

} // namespace
} // namespace scenario

SCENARIO(SystemCalls, Names_AreConvertedInto255Bytes,
         "A description is converted up to its terminator, as UTF-8 without flags, into 255 bytes.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(argumentsSince(sim, "WideCharToMultiByte", 0), (Texts{utf8(-1, 255), utf8(-1, 255)}));
    client.finalize();
}

SCENARIO(
    SystemCalls, Identifiers_AreConvertedInto248BytesForARecordAnd511ForANotification,
    "The text of a GUID is converted up to its terminator into the 248 bytes of a record, and into 511 bytes for "
    "a notification.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    std::size_t before = sim.count("WideCharToMultiByte");
    EXPECT_EQ(client.list(Direction::playback).size(), 1u);
    EXPECT_EQ(client.defaultDevice(Direction::capture).result, 0);
    EXPECT_EQ(argumentsSince(sim, "WideCharToMultiByte", before), (Texts{utf8(-1, 248), utf8(-1, 248)}));
    sim.playback("Headset");
    before = sim.count("WideCharToMultiByte");
    sim.advance(kUntilRescan);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    EXPECT_EQ(argumentsSince(sim, "WideCharToMultiByte", before),
              (Texts{utf8(-1, 255), utf8(-1, 255), utf8(-1, 255), utf8(-1, 511), utf8(-1, 511)}));
    client.finalize();
}

SCENARIO(SystemCalls, ClientsIdentifiers_AreConvertedInto255Units,
         "An identifier that the client names is converted up to its terminator, as UTF-8 without flags, into 255 "
         "units: by open in both directions and by an association.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    client.open(speaker);
    client.open(microphone);
    client.associate(microphone, speaker);
    EXPECT_EQ(argumentsSince(sim, "MultiByteToWideChar", 0), (Texts{utf8(-1, 255), utf8(-1, 255), utf8(-1, 255)}));
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(
    SystemCalls, WordsOfAResult_AreAskedForOnceAndConvertedWithRoom,
    "The words of a result are asked of the system once, in the user's neutral language and without inserts, and "
    "converted up to their terminator into four bytes for each character and one more; nothing is asked for a "
    "result that has a text of its own.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.on("DirectSoundCreate8").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.open(speaker).result, -228);
    EXPECT_EQ(sim.count("FormatMessageW"), 0u);
    const std::size_t before = sim.count("WideCharToMultiByte");
    sim.system().messages[0x80070005] = L"Denied.\r\n"; // seven characters when its line end is cut
    sim.on("DirectSoundCreate8").onCall(1).fails(E_ACCESSDENIED);
    EXPECT_EQ(client.open(speaker).result, -228);
    EXPECT_EQ(argumentsSince(sim, "FormatMessageW", 0), Texts{kMessage});
    EXPECT_EQ(argumentsSince(sim, "WideCharToMultiByte", before), Texts{utf8(-1, 29)});
    client.finalize();
}

SCENARIO(SystemCalls, WordsOfASystemError_AreConvertedWithoutTerminator,
         "The text of a system error is converted whole and without its terminator: first asked for its size, then "
         "converted into that; the system's memory for it is given back.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.system().messages[1113] = L"No m\u00E4pping.";
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(1113);
    const std::size_t before = sim.count("WideCharToMultiByte");
    EXPECT_EQ(client.open(speaker).result, -1);
    expectErrorLines({"error 1113: No m\xC3\xA4pping."});
    EXPECT_EQ(argumentsSince(sim, "FormatMessageW", 0), Texts{kMessage});
    EXPECT_EQ(argumentsSince(sim, "WideCharToMultiByte", before), (Texts{utf8(23, 0), utf8(23, 24)}));
    EXPECT_EQ(sim.ledger().open(Kind::localMemory), 0u);
    client.finalize();
}
