// A worker on which COM cannot be initialized.
#include "thread_calls.h"

#include <string>

using namespace std::string_literals;

SCENARIO(StartStop, ComFailsOnTheWorker_ItOnlySaysSoAndEnds,
         "A worker on which COM cannot be initialized raises its priority, tries, says so and ends: it waits for no "
         "command, touches no device and uninitializes nothing.") {
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    sim.advance(1);
    sim.on("CoInitializeEx").onCall(1).fails(static_cast<std::int32_t>(0x88780078)); // a text of its own
    const std::size_t before = scenario::callsSoFar(sim);
    EXPECT_TRUE(hangs([&] { client.open(microphone); }));
    EXPECT_EQ(scenario::threadCalls(sim, "thread2", before, {}),
              (std::vector<std::string>{"SetThreadPriority", "CoInitializeEx", "_endthreadex"}));
    expectErrorLines({"No sound driver is available for use"});
    endsStuck = true; // the open still waits
}

SCENARIO(StartStop, ComAnswersAnotherSuccessOnTheWorker_CountsAsFailure,
         "Any result of COM other than 0 and 1 ends a worker, also one that means success.") {
    const Device& speaker = sim.playback("Speaker");
    sim.system().messages[2] = L"Something else.";
    client.initialize();
    sim.advance(1);
    sim.on("CoInitializeEx").onCall(1).fails(2);
    EXPECT_TRUE(hangs([&] { client.open(speaker); }));
    expectErrorLines({"Something else.\0 (2)"s});
    EXPECT_EQ(sim.count("DirectSoundCreate8"), 0u);
    EXPECT_EQ(sim.count("CoUninitialize"), 0u);
    endsStuck = true;
}
