#pragma once

#include "devices/device_context.h"
#include "platform/critical_section.h"

#include <map>
#include <memory>
#include <string>

namespace directsound {

/// The open devices of one direction, by identifier (bytes compared, shorter is less).
///
/// The client's calls come one at a time, but capture loops look playback devices up at any moment. Therefore a lock
/// is held while the map changes and from a loop's look-up to its last touch of the device; never over client code,
/// over DirectSound or over a wait. What has been removed can be reached by no loop any more.
class DeviceRegistry {
    using Devices = std::map<std::string, std::unique_ptr<DeviceContext>>;

public:
    /// A place for one device, made beforehand so that adding it cannot fail.
    using Place = Devices::node_type;
    [[nodiscard]] static Place placeFor(std::unique_ptr<DeviceContext> device);

    /// The device, which stays valid until the client's next call; null when it is not open.
    [[nodiscard]] DeviceContext* find(const std::string& deviceId) const;

    void add(Place place) noexcept;

    /// Takes a device out. It is still the caller's to end and destroy.
    [[nodiscard]] std::unique_ptr<DeviceContext> remove(const std::string& deviceId) noexcept;

    /// Destroys all devices in the order of their identifiers, without ending their workers.
    void destroyAll() noexcept;

    /// The oldest played block of a playback device that has enough of them; null otherwise. Any thread.
    [[nodiscard]] std::unique_ptr<PlayedBlock> takePlayedBlock(const std::string& deviceId) const;

private:
    Devices m_Devices;
    mutable CriticalSection m_Lock;
};

} // namespace directsound
