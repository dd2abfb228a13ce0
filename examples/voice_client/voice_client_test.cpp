// The client against the plug-in on the simulator: no hardware, no waiting, the same result every time.
#include "simulator/simulation.h"
#include "voice_client.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>

using namespace simulator;

namespace {

int g_Failures = 0;

void require(bool holds, const char* what) {
    if (holds)
        return;
    std::printf("  NOT SO: %s\n", what);
    ++g_Failures;
}

// Runs a scenario in a world of its own. The simulator's findings count, too: misuse of the platform, things that were
// not given back, threads that wait for ever.
void scenario(const char* name, const std::function<void(Simulation&)>& play) {
    std::printf("%s\n", name);
    Simulation sim;
    sim.expectLeft(Kind::threadHandle, 1); // the plug-in keeps its monitor's
    const Report report = sim.run([&] { play(sim); });
    require(report.problems.empty(), "the simulator finds nothing");
    if (!report.problems.empty())
        std::printf("%s", report.text().c_str());
}

void hum(std::int16_t* samples, int frames, int channels) {
    std::fill_n(samples, frames * channels, std::int16_t{1000});
}

// Plays the program's main loop for so long. Virtual time: a second of it takes milliseconds.
void runProgram(Simulation& sim, VoiceClient& client, int milliseconds) {
    constexpr int kStep = 10;
    for (int passed = 0; passed < milliseconds; passed += kStep) {
        client.tend();
        sim.advance(kStep);
    }
}

// Whether the client asks for a second's blocks in a second.
bool plays(Simulation& sim, VoiceClient& client) {
    const std::uint64_t before = client.blocksPlayed();
    runProgram(sim, client, 1000);
    return client.blocksPlayed() >= before + 49;
}

// The plug-in looks for devices once a second.
constexpr int kUntilNoticed = 2500;

void followsTheDefault(Simulation& sim) {
    Device& speaker = sim.playback("Speaker");
    Device& headset = sim.playback("Headset");
    sim.capture("Microphone"); // without one the plug-in looks for devices, but tells of none
    sim.sound().makeDefault(speaker);
    VoiceClient client(hum);
    require(plays(sim, client) && client.device() == speaker.id(), "it begins on the default device");
    sim.sound().makeDefault(headset);
    runProgram(sim, client, kUntilNoticed);
    require(client.device() == headset.id() && plays(sim, client), "it goes where the default goes");
    require(sim.sound().living(speaker).empty(), "nothing is left open on the old device");
}

void survivesAnUnpluggedDevice(Simulation& sim) {
    Device& headset = sim.playback("Headset");
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    sim.sound().makeDefault(headset);
    VoiceClient client(hum);
    require(plays(sim, client), "it plays on the headset");
    headset.unplug();
    runProgram(sim, client, kUntilNoticed);
    require(client.device() == speaker.id() && plays(sim, client), "it goes on elsewhere");
    headset.hotplug();
    runProgram(sim, client, kUntilNoticed);
    require(client.device() == headset.id() && plays(sim, client), "it comes back");
}

void triesAgainAfterAFailingCall(Simulation& sim) {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    VoiceClient client(hum);
    sim.on("DirectSoundCreate8").onCall(1).fails(DSERR_NODRIVER);
    client.tend();
    require(client.device().empty(), "the device does not open");
    runProgram(sim, client, 1500);
    require(client.device() == speaker.id() && plays(sim, client), "the next try succeeds");
    sim.on("Secondary.Lock").onCall(1).fails(DSERR_BUFFERLOST);
    runProgram(sim, client, 1500);
    require(plays(sim, client), "a device that fails while it plays is opened anew");
    require(sim.count("DirectSoundCreate8") == 3, "that took three openings");
}

void playsAgainAfterLostBuffers(Simulation& sim) {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    VoiceClient client(hum);
    require(plays(sim, client), "it plays");
    speaker.losesBuffers();
    runProgram(sim, client, 1500);
    const std::uint64_t before = speaker.heard.bytes;
    require(plays(sim, client), "it asks for blocks again");
    require(sim.sound().living(speaker).size() == 3, "on one device, opened anew"); // object, primary, secondary
    sim.sound().catchUp();
    require(speaker.heard.bytes > before, "and they are heard");
}

} // namespace

int main() {
    try {
        scenario("Follows the default device", followsTheDefault);
        scenario("Survives an unplugged device", survivesAnUnpluggedDevice);
        scenario("Tries again after a failing call", triesAgainAfterAFailingCall);
        scenario("Plays again after lost buffers", playsAgainAfterLostBuffers);
    } catch (const std::exception& error) {
        require(false, error.what());
    }
    std::printf("%d failures\n", g_Failures);
    return g_Failures == 0 ? 0 : 1;
}
