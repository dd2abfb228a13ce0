#pragma once

#include "devices/device_context.h"
#include "platform/critical_section.h"
#include "platform/event.h"

#include <list>
#include <memory>

namespace directsound {

/// Devices that the client has closed and whose workers have not ended yet, in the order of closing.
///
/// A device stays in the list until it is gone, so that an empty list means that nothing is left to wait for.
/// Guarded by its owner's lock, which is never held while a worker is joined.
class ClosingList {
public:
    using Devices = std::list<std::unique_ptr<DeviceContext>>;

    explicit ClosingList(CriticalSection& lock) : m_Lock(lock) {}

    /// Creates the event; the list works without it, but nobody can wait.
    void createEvent() { m_DoneEvent = Event::autoReset(); }

    /// Takes over what the client has closed. With the lock held.
    void append(Devices& closed) noexcept { m_Devices.splice(m_Devices.end(), closed); }

    /// Ends, joins and destroys every device in the list, then signals the waiting thread. Without the lock; on one
    /// thread at a time.
    void closeAll() noexcept;

    /// Prepares to wait. False when there is nothing to wait for. With the lock held.
    [[nodiscard]] bool expectClosing() const;

    /// Waits until closeAll has run. After expectClosing, without the lock; one thread at a time.
    void wait() const { m_DoneEvent.wait(); }

private:
    CriticalSection& m_Lock;
    Devices m_Devices;
    Event m_DoneEvent;
};

} // namespace directsound
