#include "backend/direct_sound_backend.h"
#include "devices/capture_device_context.h"
#include "devices/device_direction.h"
#include "devices/render_device_context.h"

#include <utility>

using namespace directsound;

BackendResult DirectSoundBackend::openDevice(DeviceDirection direction, const std::string& deviceId,
                                             std::uint32_t contextId, std::optional<DeviceFormat>& format) {
    if (registry(direction).find(deviceId) != nullptr)
        return ORVO_DEVICE_ALREADY_OPEN;

    // Everything that may run out of memory comes before the worker: an open device is not to be lost again.
    DeviceRegistry::Place place = DeviceRegistry::placeFor(makeContext(direction, deviceId, contextId));
    DeviceContext& device = *place.mapped();
    if (!device.startWorker())
        return ORVO_UNKNOWN;
    if (const BackendResult result = device.commandOpen(format); result != ORVO_OK) {
        device.terminateAndJoin();
        return result;
    }
    registry(direction).add(std::move(place));
    return ORVO_OK;
}

BackendResult DirectSoundBackend::closeDevice(DeviceDirection direction, const std::string& deviceId,
                                              std::uint32_t contextId) {
    if (const Lookup found = find(direction, deviceId, contextId); found.device == nullptr)
        return found.result;
    ClosingList::Devices closing(1);
    // Removed before it is handed over: once the monitor has it, no capture loop may reach it any more.
    closing.front() = registry(direction).remove(deviceId);
    m_Monitor->closeLater(closing);
    return ORVO_OK;
}

BackendResult DirectSoundBackend::startDevice(DeviceDirection direction, const std::string& deviceId,
                                              std::uint32_t contextId) {
    const Lookup found = find(direction, deviceId, contextId);
    return found.device == nullptr ? found.result : found.device->commandStart();
}

BackendResult DirectSoundBackend::stopDevice(DeviceDirection direction, const std::string& deviceId,
                                             std::uint32_t contextId) {
    const Lookup found = find(direction, deviceId, contextId);
    if (found.device != nullptr)
        found.device->commandStop();
    return found.result;
}

std::unique_ptr<DeviceContext> DirectSoundBackend::makeContext(DeviceDirection direction, const std::string& deviceId,
                                                               std::uint32_t contextId) const {
    if (direction == ORVO_PLAYBACK)
        return std::make_unique<RenderDeviceContext>(deviceId, contextId, m_Host);
    return std::make_unique<CaptureDeviceContext>(deviceId, contextId, m_Host);
}

DirectSoundBackend::Lookup DirectSoundBackend::find(DeviceDirection direction, const std::string& deviceId,
                                                    std::uint32_t contextId) {
    DeviceContext* const device = registry(direction).find(deviceId);
    if (device == nullptr)
        return {ORVO_DEVICE_NOT_OPEN, nullptr};
    if (device->contextId() != contextId)
        return {ORVO_INVALID_CONTEXT_ID, nullptr};
    return {ORVO_OK, device};
}
