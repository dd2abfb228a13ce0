#include "commands/device_events.h"

#include <utility>

namespace soundcheck {

void DeviceEvents::add(DeviceEvent event) {
    const std::lock_guard lock(m_mutex);
    m_events.push_back(std::move(event));
}

std::vector<DeviceEvent> DeviceEvents::take() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_events, {});
}

} // namespace soundcheck
