#include "backend/device_registry.h"

#include "devices/render_device_context.h"

#include <mutex>
#include <utility>

namespace directsound {

DeviceRegistry::Place DeviceRegistry::placeFor(std::unique_ptr<DeviceContext> device) {
    Devices single;
    std::string deviceId = device->deviceId();
    single.emplace(std::move(deviceId), std::move(device));
    return single.extract(single.begin());
}

DeviceContext* DeviceRegistry::find(const std::string& deviceId) const {
    const std::lock_guard guard(m_Lock);
    const auto found = m_Devices.find(deviceId);
    return found == m_Devices.end() ? nullptr : found->second.get();
}

void DeviceRegistry::add(Place place) noexcept {
    const std::lock_guard guard(m_Lock);
    m_Devices.insert(std::move(place));
}

std::unique_ptr<DeviceContext> DeviceRegistry::remove(const std::string& deviceId) noexcept {
    Place place;
    {
        const std::lock_guard guard(m_Lock);
        place = m_Devices.extract(deviceId);
    }
    return place.empty() ? nullptr : std::move(place.mapped());
}

void DeviceRegistry::destroyAll() noexcept {
    for (auto& [deviceId, device] : m_Devices)
        device.reset();
}

std::unique_ptr<PlayedBlock> DeviceRegistry::takePlayedBlock(const std::string& deviceId) const {
    const std::lock_guard guard(m_Lock);
    const auto found = m_Devices.find(deviceId);
    if (found == m_Devices.end())
        return nullptr;
    auto* const playback = dynamic_cast<RenderDeviceContext*>(found->second.get());
    return playback == nullptr ? nullptr : playback->takePlayedBlock();
}

} // namespace directsound
