#pragma once

#include "platform/critical_section.h"
#include "platform/event.h"

#include <cstdint>

namespace directsound {

/// Keeps audio callbacks away while the client changes its signal processing. Named so that `std::lock_guard` takes it.
///
/// Kept: lock enters the section every time, unlock leaves it only when the count returns to 0. A thread that locks
/// twice and unlocks twice therefore still owns the section once.
class DspLock {
public:
    /// Waits for the section. The client's way in.
    void lock();

    /// Only after a lock on the same thread.
    void unlock();

    /// The device loops' way in: never blocks in the section, so that a stop or close is not held up by a client that
    /// keeps the lock. Returns false, without the lock, once `command` is signalled while the section is taken.
    [[nodiscard]] bool lockUnlessCommanded(const Event& command);

private:
    void countEntry();

    CriticalSection m_Section;
    std::uint32_t lockCount = 0;               ///< Locks not yet released. Touched by the section's owner only.
    Event dspIdleEvent = Event::manualReset(); ///< Set while lockCount is 0; not yet set before the first lock.
};

} // namespace directsound
