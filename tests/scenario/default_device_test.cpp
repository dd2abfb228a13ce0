// The default voice devices as getDefaultDevice tells them.
#include "discovery.h"

#include <cstring>

namespace scenario {
namespace {

constexpr GUID kNowhere{0x0BADF00D, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

DeviceInfoRecord marked() {
    DeviceInfoRecord record;
    std::memset(&record, 0xEE, sizeof(record));
    return record;
}

bool untouched(const DeviceInfoRecord& record) {
    const DeviceInfoRecord fresh = marked();
    return std::memcmp(&record, &fresh, sizeof(record)) == 0;
}

} // namespace
} // namespace scenario

SCENARIO(DefaultDevice, EachDirection_HasTheSystemsDefaultVoiceDevice,
         "The default device of a direction is the system's default voice-communication device.") {
    sim.playback("Speaker");
    Device& headset = sim.playback("Headset").named(L"A headset");
    sim.playback("Monitor");
    sim.capture("Line");
    Device& microphone = sim.capture("Microphone").named(L"A microphone");
    sim.sound().makeDefault(headset);
    sim.sound().makeDefault(microphone);
    client.initialize();
    const ListedDevice playback = client.defaultDevice(Direction::playback);
    EXPECT_EQ(playback.result, 0);
    EXPECT_EQ(playback.id, headset.id());
    EXPECT_EQ(playback.name, "A headset");
    const ListedDevice capture = client.defaultDevice(Direction::capture);
    EXPECT_EQ(capture.result, 0);
    EXPECT_EQ(capture.id, microphone.id());
    EXPECT_EQ(capture.name, "A microphone");
    client.finalize();
}

SCENARIO(DefaultDevice, Record_IsWhatEnumerationHandsOut,
         "The record of the default device is byte for byte the one of enumeration, whatever stood in the client's "
         "memory; the two bytes at offset 6 are zero.") {
    sim.playback("Speaker").named(std::wstring(250, L'n'));
    sim.capture("Microphone");
    client.initialize();
    DeviceInfoRecord record = marked();
    EXPECT_EQ(sim.exports().orvosoundbackend_getDefaultDevice(client.backend, 1, &record), 0);
    const std::vector<ListedDevice> listed = client.list(Direction::playback);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(std::memcmp(&record, &listed[0].record, sizeof(record)), 0);
    EXPECT_EQ(record.reserved, 0);
    EXPECT_EQ(record.nameLength, 247);
    client.finalize();
}

SCENARIO(DefaultDevice, NoDevices_AnswersNoDefaultAndLeavesTheRecord,
         "Without devices the answer is -201, and the client's record stays untouched.") {
    client.initialize();
    for (const int direction : {1, 2}) {
        DeviceInfoRecord record = marked();
        const auto wanted = static_cast<DeviceDirection>(direction);
        EXPECT_EQ(sim.exports().orvosoundbackend_getDefaultDevice(client.backend, wanted, &record), -201);
        EXPECT_TRUE(untouched(record));
    }
    client.finalize();
}

SCENARIO(DefaultDevice, WrongArguments_AreRefused,
         "A direction other than 1 or 2 answers -5 before all else; a null backend or a null record -10.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    const auto& query = sim.exports().orvosoundbackend_getDefaultDevice;
    for (const int direction : {0, 3, -1}) {
        DeviceInfoRecord record = marked();
        EXPECT_EQ(query(client.backend, static_cast<DeviceDirection>(direction), &record), -5);
        EXPECT_EQ(query(nullptr, static_cast<DeviceDirection>(direction), nullptr), -5);
        EXPECT_TRUE(untouched(record));
    }
    DeviceInfoRecord record = marked();
    EXPECT_EQ(query(nullptr, 1, &record), -10);
    EXPECT_EQ(query(client.backend, 2, nullptr), -10);
    EXPECT_TRUE(untouched(record));
    client.finalize();
}

SCENARIO(DefaultDevice, NullRecordWithoutDefault_AnswersNoDefault,
         "A null record is no earlier answer than that there is no default: -201.") {
    client.initialize();
    EXPECT_EQ(sim.exports().orvosoundbackend_getDefaultDevice(client.backend, 1, nullptr), -201);
    client.finalize();
}

SCENARIO(DefaultDevice, DefaultIsASkippedReport_ListsStayEmptyWithoutDefault,
         "A default voice device without description is listed nowhere: the first lists of both directions stay "
         "empty, and the answer is -201.") {
    sim.playback("Speaker");
    Device& nameless = sim.playback("Nameless").withoutName();
    sim.capture("Microphone");
    sim.sound().makeDefault(nameless);
    client.initialize();
    for (const Direction direction : {Direction::playback, Direction::capture}) {
        EXPECT_EQ(client.defaultDevice(direction).result, -201);
        EXPECT_TRUE(client.list(direction).empty());
    }
    client.finalize();
}

SCENARIO(DefaultDevice, DefaultHasALongName_AnswersNoDefault,
         "A default voice device whose name takes more than 254 bytes is none that the backend knows: -201.") {
    Device& longName = sim.capture("Microphone").named(std::wstring(255, L'n'));
    sim.sound().makeDefault(longName);
    sim.playback("Speaker");
    client.initialize();
    EXPECT_EQ(client.defaultDevice(Direction::capture).result, -201);
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, -201);
    client.finalize();
}

SCENARIO(DefaultDevice, DefaultIsListedNowhere_AnswersNoDefault,
         "A default voice device that no enumeration reports leaves the first lists empty: -201.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.sound().makeDefault(Direction::capture, kNowhere);
    client.initialize();
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, -201);
    EXPECT_EQ(client.defaultDevice(Direction::capture).result, -201);
    EXPECT_TRUE(client.list(Direction::playback).empty());
    client.finalize();
}

SCENARIO(DefaultDevice, DefaultChanges_AnswerChangesWithTheRescan,
         "After the default changes the answer is the old one until the monitor has rescanned, which is about a "
         "second later at most.") {
    sim.timerGranularity(15); // real waits end a little late
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    sim.sound().makeDefault(headset);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    sim.advance(1000);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    sim.advance(6);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    client.finalize();
}

SCENARIO(DefaultDevice, NoGuidText_AnswersMinus200WithALine,
         "When the text of the default device's GUID cannot be made, the answer is -200, with one whole line on "
         "standard output.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.system().messages[0x80070057] = L"Wrong parameter.\r\n";
    client.initialize();
    sim.on("StringFromCLSID").fails(static_cast<long long>(E_INVALIDARG));
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, -200);
    std::string line = "SOUNDBACKEND: Wrong parameter.";
    line.append(1, '\0').append(" (-2147024809) (0x80070057)");
    expectOutputLines({line});
    client.finalize();
}

SCENARIO(DefaultDevice, IdentifierNotConvertible_AnswersTheConvertersCode,
         "When the identifier of the default device cannot be converted, the answer is the converter's: -6 or -1, "
         "each with its line on standard error.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    sim.system().messages[5] = L"Denied.";
    client.initialize();
    sim.on("WideCharToMultiByte").onCall(1).failsWithError(ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, -6);
    sim.on("WideCharToMultiByte").onCall(1).failsWithError(5);
    EXPECT_EQ(client.defaultDevice(Direction::capture).result, -1);
    expectErrorLines({"buffer too small", "error 5: Denied."});
    client.finalize();
}

SCENARIO(DefaultDevice, Query_AsksTheSystemNothing,
         "The default query answers from the monitor's list and never asks DirectSound itself.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    const unsigned asked = sim.count("GetDeviceID");
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, 0);
    EXPECT_EQ(client.defaultDevice(Direction::capture).result, 0);
    EXPECT_EQ(sim.count("GetDeviceID"), asked);
    client.finalize();
}
