// Sessions that are no bed of roses even without a fault.
#include "sessions.h"

namespace sweep {

void lostBuffers(Stage& stage) {
    Device& speaker = stage.sim.playback("Speaker");
    stage.sim.capture("Microphone");
    if (!stage.begin())
        return;
    stage.run(speaker);
    stage.sim.advance(60);
    speaker.losesBuffers();
    stage.sim.advance(60);
    stage.require(stage.client.logTexts(1).size() == 1, "the loss is told");
    stage.close(speaker);
    stage.run(speaker);
    stage.sim.advance(60);
    stage.end();
}

// The texts of errors come from the system here.
void wrongIdentifiers(Stage& stage) {
    Device& microphone = stage.sim.capture("Microphone");
    stage.sim.playback("Speaker");
    stage.sim.system().messages[0x800401F3] = L"Invalid class string\r\n";
    stage.sim.system().messages[ERROR_NO_UNICODE_TRANSLATION] = L"No mapping.";
    if (!stage.begin())
        return;
    constexpr std::size_t kTooLong = 300;
    stage.client.open(1, "no guid");
    stage.client.open(2, std::string(kTooLong, 'x'));
    stage.sim.on("MultiByteToWideChar").maybe().onCall(1).failsWithError(ERROR_NO_UNICODE_TRANSLATION);
    stage.client.open(1, "not convertible");
    stage.run(microphone);
    std::uint32_t out = 0;
    stage.sim.exports().orvosoundbackend_associateAECDevice(stage.client.backend, microphone.id().c_str(), "no guid",
                                                            7, &out, &out, &out, &out);
    stage.end();
    stage.require(stage.client.logTexts(1).size() == 2 && stage.sim.errorLines().size() >= 2, "all is told");
}

// The client's own work keeps the audio away, also while devices stop and close.
void dspLock(Stage& stage) {
    Device& speaker = stage.sim.playback("Speaker");
    Device& microphone = stage.sim.capture("Microphone");
    if (!stage.begin())
        return;
    stage.run(speaker);
    stage.run(microphone);
    for (int round = 0; round < 3; ++round) {
        stage.client.lockDsp();
        stage.sim.advance(45);
        stage.client.unlockDsp();
        stage.sim.advance(15);
    }
    stage.client.lockDsp();
    stage.sim.advance(30);
    stage.stop(speaker);
    stage.close(microphone);
    stage.sim.advance(5);
    stage.client.unlockDsp();
    stage.end();
}

void shutdownUnderLoad(Stage& stage) {
    Device& speaker = stage.sim.playback("Speaker");
    Device& headset = stage.sim.playback("Headset");
    Device& microphone = stage.sim.capture("Microphone");
    if (!stage.begin())
        return;
    stage.run(speaker);
    stage.run(headset);
    stage.run(microphone);
    stage.associate(microphone, speaker);
    stage.sim.advance(60);
    headset.unplug();
    stage.sim.advance(30);
    stage.endWithoutWaiting();
}

} // namespace sweep
