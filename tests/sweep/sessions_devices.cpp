// Sessions in which devices run as they should.
#include "sessions.h"

#include <dsound.h>

namespace sweep {
namespace {

constexpr DWORD kMono16 = 0x4000;
constexpr DWORD kStereo8 = 0x2000;

} // namespace

void playback(Stage& stage) {
    Device& speaker = stage.sim.playback("Speaker");
    stage.sim.capture("Microphone");
    if (!stage.begin())
        return;
    stage.run(speaker);
    stage.sim.advance(200);
    stage.stop(speaker);
    stage.sim.advance(30);
    stage.end();
    stage.require(speaker.checkHeard().unbroken(), "every frame is heard");
}

// Each device has something to negotiate or to warn of.
void formats(Stage& stage) {
    Device& surround = stage.sim.playback("Surround").speakers(DSSPEAKER_5POINT1).emulated();
    Device& narrow = stage.sim.playback("Narrow").rates(100, 44100);
    narrow.primaryFormat.rate = 44100;
    Device& stubborn = stage.sim.playback("Stubborn").primaryRefuses(DSERR_BADFORMAT);
    Device& mono = stage.sim.capture("Mono").captureFormats(kMono16).emulated();
    Device& coarse = stage.sim.capture("Coarse").captureFormats(kStereo8);
    Device& other = stage.sim.capture("Other").bufferKeeps({1, 44100, 16, std::nullopt});
    if (!stage.begin())
        return;
    for (const Device* device : {&surround, &narrow, &stubborn, &mono, &coarse, &other}) {
        stage.run(*device);
        stage.sim.advance(50);
        stage.close(*device);
    }
    stage.end();
    stage.require(stage.client.logTexts(2).size() == 3, "two emulated devices and a refusal are warned of");
}

void capture(Stage& stage) {
    Device& microphone = stage.sim.capture("Microphone");
    stage.sim.playback("Speaker");
    if (!stage.begin())
        return;
    stage.run(microphone);
    stage.sim.advance(200);
    stage.stop(microphone);
    stage.sim.advance(30);
    stage.end();
    stage.require(stage.client.checkCaptured(microphone).unbroken(), "every frame is captured");
}

void captureWithEcho(Stage& stage) {
    Device& speaker = stage.sim.playback("Speaker");
    Device& microphone = stage.sim.capture("Microphone");
    if (!stage.begin())
        return;
    stage.run(speaker);
    stage.run(microphone);
    stage.associate(microphone, speaker);
    stage.sim.advance(250);
    stage.require(!stage.client.captured.empty() && stage.client.captured.back().hasEcho, "the echo reference comes");
    stage.client.dissociate(microphone);
    stage.sim.advance(50);
    stage.associate(microphone, speaker);
    stage.sim.advance(50);
    stage.end();
}

void severalDevices(Stage& stage) {
    Device& speaker = stage.sim.playback("Speaker");
    Device& headset = stage.sim.playback("Headset").steps(10);
    Device& microphone = stage.sim.capture("Microphone").steps(10);
    Device& line = stage.sim.capture("Line").drifts(200);
    if (!stage.begin())
        return;
    for (const Device* device : {&speaker, &microphone, &headset, &line})
        stage.run(*device);
    stage.associate(microphone, headset);
    stage.associate(line, speaker);
    stage.sim.advance(60);
    stage.close(headset);
    stage.sim.advance(30);
    stage.close(line);
    stage.run(headset);
    stage.sim.advance(40);
    stage.end();
}

} // namespace sweep
