#pragma once

#include "devices/device_direction.h"
#include "discovery/closing_list.h"
#include "discovery/default_watch.h"
#include "discovery/device_entry.h"
#include "discovery/system_devices.h"
#include "orvosoundbackend.h"
#include "platform/critical_section.h"
#include "platform/event.h"
#include "platform/unique_handle.h"

#include <windows.h>

#include <optional>

namespace directsound {

class ComApartment;

/// Keeps the picture of the system's devices, tells the client what changed in it, and ends closed devices.
///
/// A thread of its own wakes at least once a second, and at once when a device is closed. The lock guards the device
/// maps, the closing list and the flags; it is held neither while the client is called nor while a worker is joined.
/// Construction lists the devices on the calling thread and tells the client nothing.
class DeviceMonitor {
public:
    explicit DeviceMonitor(const BackendCallbacks& callbacks);
    ~DeviceMonitor() = default;
    DeviceMonitor(const DeviceMonitor&) = delete;
    DeviceMonitor& operator=(const DeviceMonitor&) = delete;

    /// Ends the thread, then closes on the calling thread what is left to close. Once, before destruction; until it
    /// returns, callbacks that are under way may still use the monitor.
    void end() noexcept;

    /// A copy of the devices of a direction, not older than the last rescan. Any thread.
    [[nodiscard]] DeviceMap devices(DeviceDirection direction) const;

    /// Takes over a device that nobody can reach any more. Does not wait. Any thread.
    void closeLater(ClosingList::Devices& device) noexcept;

    /// Waits until everything taken over is gone; on the monitor's own thread it does the work itself.
    void waitForClosed();

private:
    static unsigned __stdcall threadProcedure(void* monitor);
    void runThread();
    void watch(ComApartment& apartment);
    /// Rescans when a second has passed since `lastRescan`, which is then moved on.
    void rescanWhenDue(LARGE_INTEGER& lastRescan, const LARGE_INTEGER& frequency) noexcept;
    [[nodiscard]] bool stopRequested() const;

    enum class Scan { Initial, Repeated };
    void rescan(Scan scan);
    /// Finds out whether the devices have to be listed, and updates the defaults. False when there is no need.
    [[nodiscard]] bool listingNeeded(Scan scan);
    void adopt(DeviceMaps& found);

    // Touched by the constructor and the monitor thread only.
    const BackendCallbacks m_Callbacks;
    std::optional<DefaultWatch> m_DefaultWatch; ///< Made by the constructor, unless it stops early.
    DefaultGuids m_DefaultGuids{};

    // Wake event, closing list and lock go in the reverse of this order.
    Event m_WakeEvent;

    // Guarded by m_Lock.
    DeviceMaps m_Devices;
    ClosingList m_Closing{m_Lock};
    bool m_StopRequested = false;
    DWORD m_ThreadId = 0;

    mutable CriticalSection m_Lock;
    HANDLE m_Thread = nullptr; ///< Kept: never closed. Null when there is no thread.
};

} // namespace directsound
