// On which thread closed devices are ended when the monitor's thread does not sleep.
#include "thread_calls.h"

#include <algorithm>

namespace scenario {
namespace {

using Texts = std::vector<std::string>;

// What a thread did to end the one device of the scenario, from the old reply that it takes back to the news.
Texts endingOf(Simulation& sim, const std::string& thread, std::size_t since, Roles roles) {
    for (const CallRecord& call : sim.calls("CloseHandle")) {
        if (call.subject.starts_with("T"))
            roles[call.subject] = "worker";
    }
    const Texts calls = threadCalls(sim, thread, since, roles);
    const auto begin = std::ranges::find(calls, "reset reply");
    return {begin, std::find(begin, calls.end(), "leave lists")};
}

// The monitor's section, its news of closed devices, and the events of the device that is opened here.
Roles openForEnding(Simulation& sim, Client& client, const Device& device) {
    client.waitForClosed(); // nothing to wait for: takes old news back under the monitor's section
    Roles roles = {{sim.calls("EnterCriticalSection").back().subject, "lists"},
                   {sim.calls("ResetEvent").back().subject, "news"},
                   {"S5", "state"},
                   {"S6", "echo"}};
    const std::size_t before = callsSoFar(sim);
    EXPECT_EQ(client.open(device).result, 0);
    roles.merge(eventsOf(sim, before));
    return roles;
}

const Texts kEnding = {"reset reply",          "enter state",  "set command",  "leave state",
                       "wait worker INFINITE", "delete echo",  "close worker", "close command",
                       "close reply",          "delete state", "enter lists",  "set news"};

} // namespace
} // namespace scenario

SCENARIO(WaitForClosed, InsideANotification_MonitorEndsTheDeviceByItself,
         "The wait for closed devices inside a notification ends the device on the calling thread, the monitor's, "
         "step by step as the monitor would, and waits for no news.") {
    sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    const scenario::Roles roles = scenario::openForEnding(sim, client, microphone);
    Texts ending;
    client.onNotification = [&](const Notification& notification) {
        if (notification.event != 2)
            return;
        EXPECT_EQ(client.close(microphone), 0);
        const std::size_t before = scenario::callsSoFar(sim);
        EXPECT_EQ(client.waitForClosed(), 0);
        ending = scenario::endingOf(sim, "thread1", before, roles);
        const Texts all = scenario::threadCalls(sim, "thread1", before, roles);
        EXPECT_EQ(std::ranges::count(all, "wait news INFINITE"), 0);
    };
    sim.playback("Headset");
    sim.advance(2500);
    EXPECT_EQ(ending, scenario::kEnding);
    client.finalize();
}

SCENARIO(
    Finalize, DeviceStillClosing_IsEndedByTheFinalizingThread,
    "When the monitor's thread has ended early, finalize ends a closed device on its own thread, step by step as "
    "the monitor would.") {
    const Device& microphone = sim.capture("Microphone");
    sim.on("QueryPerformanceCounter").onCall(1).failsWithError(31);
    client.initialize();
    sim.advance(1);
    const scenario::Roles roles = scenario::openForEnding(sim, client, microphone);
    EXPECT_EQ(client.close(microphone), 0);
    const std::size_t before = scenario::callsSoFar(sim);
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_EQ(scenario::endingOf(sim, "client", before, roles), scenario::kEnding);
}
