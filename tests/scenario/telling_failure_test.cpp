// What happens when telling of a failure fails in its turn: the line is shorter, or missing, and all goes on.
#include "scenario.h"

SCENARIO(TellingFailure, NoRoomForTheSystemsWords_NumberAlone,
         "A system error whose text finds no memory is told by its number.") {
    const Device& speaker = sim.playback("Speaker");
    sim.system().messages[1113] = L"No mapping.";
    client.initialize();
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(1113);
    sim.on("LocalAlloc").onCall(1).fails();
    EXPECT_EQ(client.open(speaker).result, -1);
    expectErrorLines({"error 1113"});
    client.finalize();
}

SCENARIO(TellingFailure, WordsNotConvertible_EmptyLine,
         "A system error whose text cannot be converted to UTF-8 leaves an empty line.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(1113);
    sim.on("WideCharToMultiByte").onCall(1).failsWithError(1113);
    EXPECT_EQ(client.open(speaker).result, -1);
    expectErrorLines({""});
    client.finalize();
}

SCENARIO(
    TellingFailure, ComFailsOnAWorkerWithoutMemory_NoLine,
    "When COM fails on a worker and there is no memory to say so, nothing is written, and the open waits all the "
    "same.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.advance(1);
    sim.on("CoInitializeEx")
        .onCall(1)
        .does([this] { sim.on("malloc").onCall(1).fails(); })
        .fails(static_cast<HRESULT>(0x80010106));
    EXPECT_TRUE(hangs([&] { client.open(speaker); }));
    expectErrorLines({});
    endsStuck = true; // the open still waits
}

SCENARIO(TellingFailure, CounterFailsOnTheMonitorWithoutMemory_ThreadEndsInOrder,
         "When the performance counter fails and there is no memory to say so, the monitor's thread ends as it would "
         "with the line, and finalize ends as ever.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.on("QueryPerformanceCounter")
        .onCall(1)
        .does([this] { sim.on("malloc").onCall(1).fails(); })
        .failsWithError(31);
    sim.advance(5000);
    EXPECT_EQ(sim.count("QueryPerformanceCounter"), 1u);
    EXPECT_EQ(sim.count("CoUninitialize"), 1u);
    expectErrorLines({});
    client.finalize();
}
