// The whole sessions that the faults are put into. Each is short, because every call of it is made to fail in turn.
#pragma once

#include "stage.h"

#include <span>
#include <string_view>

namespace sweep {

struct Session {
    std::string_view name;
    void (*play)(Stage& stage);
};

std::span<const Session> sessions();
// Null when there is none of that name.
const Session* findSession(std::string_view name);

// --- sessions_discovery.cpp ---
void startUp(Stage& stage);
void discovery(Stage& stage);
void olderSystem(Stage& stage);
void hotPlug(Stage& stage);
void defaultChange(Stage& stage);

// --- sessions_devices.cpp ---
void playback(Stage& stage);
void formats(Stage& stage);
void capture(Stage& stage);
void captureWithEcho(Stage& stage);
void severalDevices(Stage& stage);

// --- sessions_trouble.cpp ---
void lostBuffers(Stage& stage);
void wrongIdentifiers(Stage& stage);
void dspLock(Stage& stage);
void shutdownUnderLoad(Stage& stage);

} // namespace sweep
