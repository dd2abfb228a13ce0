// The default voice device.
#include "scenario.h"

SCENARIO(DefaultDevice, Query_AnswersTheVoiceDefault, "The default is the default voice device of the direction.") {
    sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    Device& mic = sim.capture("Mic");
    sim.sound().makeDefault(headset);
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    EXPECT_EQ(client.defaultDevice(Direction::playback).name, "Headset");
    EXPECT_EQ(client.defaultDevice(Direction::capture).id, mic.id());
    client.finalize();
}

SCENARIO(DefaultDevice, NoDevice_AnswersMinus201AndLeavesTheRecord,
         "Without a marked device the query answers -201 and leaves the record untouched.") {
    EXPECT_EQ(client.initialize(), 0);
    DeviceInfoRecord record{};
    record.reserved = 0x1234;
    EXPECT_EQ(sim.exports().orvosoundbackend_getDefaultDevice(client.backend, 1, &record), -201);
    EXPECT_EQ(record.reserved, 0x1234);
    client.finalize();
}

SCENARIO(DefaultDevice, DefaultThatEnumerationSkips_AnswersMinus201,
         "A default device that enumeration skips leaves both lists empty, so the query answers -201.") {
    Device& nameless = sim.playback("Nameless").withoutName();
    sim.playback("Speaker");
    sim.capture("Mic");
    sim.sound().makeDefault(nameless);
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, -201);
    EXPECT_EQ(client.defaultDevice(Direction::capture).result, -201);
    client.finalize();
}

SCENARIO(DefaultDevice, Change_ShowsAfterTheRescan,
         "A changed default shows in the query and as event 1 once the monitor has rescanned.") {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    sim.advance(1500);
    sim.sound().makeDefault(headset);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, speaker.id());
    sim.advance(2100);
    EXPECT_EQ(client.defaultDevice(Direction::playback).id, headset.id());
    expectNotifications({"1 Headset 1"});
    client.finalize();
}

SCENARIO(DefaultDevice, GuidTextFails_IsToldOnStandardOutput,
         "When the GUID has no text the query answers -200 and writes a line to standard output.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    sim.on("StringFromCLSID").fails(static_cast<HRESULT>(0x887800AA));
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, -200);
    expectOutputLines({"SOUNDBACKEND: This object has not been initialized (0x887800aa)"});
    client.finalize();
}

SCENARIO(DefaultDevice, IdentifierConversionFails_AnswersItsCode,
         "A failing identifier conversion answers -6 for a small buffer and -1 otherwise, told on standard error.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    sim.on("WideCharToMultiByte").onCall(1).failsWithError(122);
    EXPECT_EQ(client.defaultDevice(Direction::playback).result, -6);
    expectErrorLines({"buffer too small"});
    client.finalize();
}
