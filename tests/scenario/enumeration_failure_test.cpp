// enumDevices with wrong arguments, with failing conversions, and with a client that calls back into the backend.
#include "discovery.h"

#include <cstdint>
#include <functional>

namespace scenario {
namespace {

using Visitor = std::function<void(const DeviceInfoRecord*)>;

std::int32_t visit(const DeviceInfoRecord* record, void* visitor) {
    (*static_cast<Visitor*>(visitor))(record);
    return -1; // ignored
}

} // namespace
} // namespace scenario

SCENARIO(EnumerationFailure, WrongDirection_IsRefusedBeforeAllElse,
         "A direction other than 1 or 2 answers -5 and calls nothing, even without a backend and a callback; only "
         "the low eight bits count.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    unsigned calls = 0;
    Visitor count = [&](const DeviceInfoRecord*) { ++calls; };
    for (const int direction : {0, 3, -1, 127, -128}) {
        const auto wrong = static_cast<DeviceDirection>(direction);
        EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, wrong, &visit, &count), -5);
        EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(nullptr, wrong, nullptr, nullptr), -5);
    }
    EXPECT_EQ(calls, 0u);
    EXPECT_EQ(
        sim.exports().orvosoundbackend_enumDevices(client.backend, static_cast<DeviceDirection>(257), &visit, &count),
        0);
    EXPECT_EQ(calls, 1u);
    client.finalize();
}

SCENARIO(EnumerationFailure, NullArguments_AreInvalid,
         "A null backend or a null callback answers -10; a null user value is passed on.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    Visitor nothing = [](const DeviceInfoRecord*) {};
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(nullptr, 1, &visit, &nothing), -10);
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, nullptr, &nothing), -10);
    static void* seen = &seen;
    const EnumDevicesCallback keep = [](const DeviceInfoRecord*, void* value) -> std::int32_t {
        seen = value;
        return 0;
    };
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, keep, nullptr), 0);
    EXPECT_EQ(seen, nullptr);
    client.finalize();
}

SCENARIO(EnumerationFailure, CallbackResult_IsIgnored,
         "Whatever the client's callback answers, the next device is listed, in the same record.") {
    sim.playback("A");
    sim.playback("B");
    sim.playback("C");
    sim.capture("Microphone");
    client.initialize();
    std::vector<const DeviceInfoRecord*> records;
    Visitor keep = [&](const DeviceInfoRecord* record) { records.push_back(record); };
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, &visit, &keep), 0);
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1], records[0]);
    EXPECT_EQ(records[2], records[0]);
    client.finalize();
}

SCENARIO(EnumerationFailure, NoGuidText_EndsWithALineOnStandardOutput,
         "When the text of a GUID cannot be made, enumeration ends with -200 and one whole line on standard output; "
         "devices already listed stay listed.") {
    sim.playback("A");
    sim.playback("B");
    sim.playback("C");
    sim.capture("Microphone");
    sim.system().messages[0x8007000E] = L"Not enough memory.\r\n";
    client.initialize();
    unsigned calls = 0;
    Visitor count = [&](const DeviceInfoRecord*) { ++calls; };
    sim.on("StringFromCLSID").onCall(2).fails(static_cast<long long>(E_OUTOFMEMORY));
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, &visit, &count), -200);
    EXPECT_EQ(calls, 1u);
    EXPECT_EQ(sim.count("StringFromCLSID"), 2u);
    std::string line = "SOUNDBACKEND: Not enough memory.";
    line.append(1, '\0').append(" (-2147024882) (0x8007000e)");
    expectOutputLines({line});
    expectErrorLines({});
    EXPECT_TRUE(client.logTexts(1).empty());
    client.finalize();
}

SCENARIO(EnumerationFailure, IdentifierTooLong_AnswersMinus6,
         "When the identifier does not fit, enumeration stops with -6 and \"buffer too small\" on standard error.") {
    sim.playback("A");
    sim.playback("B");
    sim.capture("Microphone");
    client.initialize();
    unsigned calls = 0;
    Visitor count = [&](const DeviceInfoRecord*) { ++calls; };
    sim.on("WideCharToMultiByte").onCall(1).failsWithError(ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, &visit, &count), -6);
    EXPECT_EQ(calls, 0u);
    expectErrorLines({"buffer too small"});
    expectOutputLines({});
    client.finalize();
}

SCENARIO(EnumerationFailure, IdentifierNotConvertible_AnswersMinus1,
         "When the identifier cannot be converted, enumeration stops with -1 and the system's error, its number and "
         "text, on standard error.") {
    sim.playback("A");
    sim.playback("B");
    sim.capture("Microphone");
    sim.system().messages[ERROR_NO_UNICODE_TRANSLATION] = L"No mapping.";
    client.initialize();
    unsigned calls = 0;
    Visitor count = [&](const DeviceInfoRecord*) { ++calls; };
    sim.on("WideCharToMultiByte").onCall(2).failsWithError(ERROR_NO_UNICODE_TRANSLATION);
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, &visit, &count), -1);
    EXPECT_EQ(calls, 1u);
    expectErrorLines({"error 1113: No mapping."});
    client.finalize();
}

SCENARIO(EnumerationFailure, MemoryRunsOut_AnswersMinus1,
         "When there is no memory for the copy of the list, enumeration and the default query answer -1, and work "
         "again when there is.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.on("malloc").onCall(1).fails();
    unsigned calls = 0;
    Visitor count = [&](const DeviceInfoRecord*) { ++calls; };
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, &visit, &count), -1);
    sim.on("malloc").onCall(1).fails();
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, -1);
    EXPECT_EQ(calls, 0u);
    EXPECT_EQ(ids(client.list(Direction::playback)), Texts{speaker.id()});
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, 0);
    client.finalize();
}

SCENARIO(EnumerationFailure, OtherExportsInsideTheCallback_Work,
         "Inside the enumeration callback the client may call the other exports, even those that wait for the "
         "monitor's thread, because no lock is held.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    client.initialize();
    unsigned calls = 0;
    Visitor use = [&](const DeviceInfoRecord* record) {
        ++calls;
        EXPECT_EQ(ids(client.list(Direction::capture)), Texts{microphone.id()});
        EXPECT_EQ(client.defaultDevice(Direction::playback).id, record->id);
        EXPECT_EQ(client.lockDsp(), 0);
        EXPECT_EQ(client.unlockDsp(), 0);
        EXPECT_EQ(client.open(speaker).result, 0);
        EXPECT_EQ(client.start(speaker), 0);
        EXPECT_EQ(client.close(speaker), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
        sim.advance(kUntilRescan); // a rescan needs the monitor's lock, too
    };
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, &visit, &use), 0);
    EXPECT_EQ(calls, 1u);
    client.finalize();
}

SCENARIO(EnumerationFailure, ListChangesDuringTheCallback_CopyGoesOn,
         "A rescan during the callback changes the next enumeration, not the running one.") {
    Device& a = sim.playback("A");
    Device& b = sim.playback("B");
    sim.capture("Microphone");
    client.initialize();
    Texts seen;
    Visitor use = [&](const DeviceInfoRecord* record) {
        seen.emplace_back(record->id);
        if (seen.size() > 1)
            return;
        b.vanish();
        sim.advance(kUntilRescan);
        EXPECT_EQ(ids(client.list(Direction::playback)), Texts{a.id()});
    };
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, &visit, &use), 0);
    EXPECT_EQ(seen, (Texts{a.id(), b.id()}));
    expectNotifications({"4 B 4", "3 B 1"});
    client.finalize();
}
