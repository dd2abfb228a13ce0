#include "sessions.h"

#include <algorithm>
#include <array>

namespace sweep {
namespace {

constexpr std::array kSessions{
    Session{"start-up", startUp},
    Session{"discovery", discovery},
    Session{"older-system", olderSystem},
    Session{"hot-plug", hotPlug},
    Session{"default-change", defaultChange},
    Session{"playback", playback},
    Session{"formats", formats},
    Session{"capture", capture},
    Session{"capture-with-echo", captureWithEcho},
    Session{"several-devices", severalDevices},
    Session{"lost-buffers", lostBuffers},
    Session{"wrong-identifiers", wrongIdentifiers},
    Session{"dsp-lock", dspLock},
    Session{"shutdown-under-load", shutdownUnderLoad},
};

} // namespace

std::span<const Session> sessions() {
    return kSessions;
}

const Session* findSession(std::string_view name) {
    const auto* found = std::ranges::find(kSessions, name, &Session::name);
    return found == kSessions.end() ? nullptr : found;
}

} // namespace sweep
