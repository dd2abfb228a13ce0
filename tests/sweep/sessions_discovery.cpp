// Sessions about what devices there are.
#include "sessions.h"

namespace sweep {
namespace {

constexpr double kUntilRescan = 2100; // the monitor wakes once a second and rescans when more than one has passed

} // namespace

void startUp(Stage& stage) {
    stage.sim.playback("Speaker");
    stage.sim.capture("Microphone");
    stage.require(stage.sim.exports().orvosoundbackend_isSupported() == 0, "the system is supported");
    for (int life = 1; life <= 2; ++life) {
        if (!stage.begin())
            continue;
        stage.require(stage.list(Direction::playback) == 1 && stage.list(Direction::capture) == 1,
                      "lists are filled");
        stage.end();
    }
}

void discovery(Stage& stage) {
    stage.sim.playback("Speaker").named(L"L\u00e4rmpfeife");
    stage.sim.playback("Nameless").withoutName();
    Device& headset = stage.sim.playback("Headset");
    stage.sim.capture("Microphone");
    stage.sim.capture("Line");
    stage.sim.sound().makeDefault(headset);
    if (!stage.begin())
        return;
    stage.require(stage.list(Direction::playback) == 2, "playback devices with a name are listed");
    stage.require(stage.list(Direction::capture) == 2, "capture devices are listed");
    stage.sim.advance(kUntilRescan + 1000);
    stage.list(Direction::playback);
    stage.end();
}

void olderSystem(Stage& stage) {
    stage.sim.system().majorVersion = 5;
    stage.sim.system().minorVersion = 1;
    stage.sim.playback("Speaker");
    Device& headset = stage.sim.playback("Headset");
    Device& monitor = stage.sim.playback("Monitor").absent();
    stage.sim.capture("Microphone");
    if (!stage.begin())
        return;
    stage.sim.sound().makeDefault(headset);
    stage.sim.advance(kUntilRescan);
    stage.require(stage.client.notifications.size() == 1, "the new default is told");
    monitor.hotplug();
    stage.sim.advance(kUntilRescan);
    stage.require(stage.list(Direction::playback) == 3, "the new device is listed");
    stage.end();
}

void hotPlug(Stage& stage) {
    stage.sim.playback("Speaker");
    Device& headset = stage.sim.playback("Headset").absent();
    stage.sim.capture("Microphone");
    if (!stage.begin())
        return;
    headset.hotplug();
    stage.sim.advance(kUntilRescan);
    stage.require(stage.client.notifications.size() == 2, "the new device is told");
    stage.run(headset);
    stage.sim.advance(60);
    headset.unplug();
    stage.sim.advance(kUntilRescan);
    stage.require(stage.client.notifications.size() == 4, "the removal is told");
    stage.close(headset);
    headset.hotplug();
    stage.sim.advance(kUntilRescan);
    stage.list(Direction::playback);
    stage.end();
}

void defaultChange(Stage& stage) {
    Device& speaker = stage.sim.playback("Speaker");
    Device& headset = stage.sim.playback("Headset");
    stage.sim.capture("Microphone");
    if (!stage.begin())
        return;
    stage.sim.advance(1000);
    stage.run(speaker);
    stage.sim.sound().makeDefault(headset);
    const bool told = stage.sim.advanceUntil([&] { return !stage.client.notifications.empty(); }, kUntilRescan);
    stage.require(told, "the new default is told");
    stage.close(speaker);
    stage.run(headset);
    stage.sim.advance(60);
    stage.end();
}

} // namespace sweep
