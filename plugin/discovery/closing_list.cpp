#include "discovery/closing_list.h"

#include <mutex>
#include <utility>

namespace directsound {

void ClosingList::closeAll() noexcept {
    std::unique_lock guard(m_Lock);
    while (!m_Devices.empty()) {
        // The empty entry stays behind until the device is gone.
        std::unique_ptr<DeviceContext> device = std::move(m_Devices.front());
        guard.unlock();
        device->terminateAndJoin();
        device.reset();
        guard.lock();
        m_Devices.pop_front();
    }
    m_DoneEvent.set();
}

bool ClosingList::expectClosing() const {
    m_DoneEvent.reset();
    return !m_Devices.empty();
}

} // namespace directsound
