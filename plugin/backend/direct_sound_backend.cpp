#include "backend/direct_sound_backend.h"

#include "devices/device_direction.h"
#include "diagnostics/message.h"
#include "diagnostics/sinks.h"

using namespace directsound;

namespace {

/// The smallest timer period, in milliseconds, announced to the client before it is set.
std::uint32_t announcedTimerPeriod(const BackendCallbacks& callbacks) {
    const std::uint32_t timerPeriod = smallestTimerPeriod();
    if (timerPeriod != 0)
        logMessage(callbacks, "", message("setting timer resolution to ", timerPeriod, "ms"), LogLevel::Information);
    return timerPeriod;
}

} // namespace

DirectSoundBackend::DirectSoundBackend(const BackendCallbacks& callbacks)
    : m_Callbacks(callbacks), m_TimerResolution(std::in_place, announcedTimerPeriod(callbacks)),
      m_Window(std::in_place), m_Host{m_Callbacks, m_DspLock, *this, m_Window->handle()} {
    if (usable()) {
        m_Monitor = std::make_unique<DeviceMonitor>(m_Callbacks);
        return;
    }
    const DWORD error = GetLastError();
    writeErrorLine(message("CreateWindow error ", error));
}

DirectSoundBackend::~DirectSoundBackend() {
    // Ended while it can still be reached: callbacks that are under way may call back in.
    if (m_Monitor)
        m_Monitor->end();
    m_Monitor.reset();
    for (DeviceRegistry& devices : m_Registries)
        devices.destroyAll();
    m_Window.reset();
    m_TimerResolution.reset();
}

std::unique_ptr<PlayedBlock> DirectSoundBackend::takePlayedBlock(const std::string& deviceId) {
    return registry(ORVO_PLAYBACK).takePlayedBlock(deviceId);
}

DeviceRegistry& DirectSoundBackend::registry(DeviceDirection direction) {
    return m_Registries[indexOf(direction)];
}
