#pragma once

#include "platform/unique_handle.h"

#include <windows.h>

namespace directsound {

/// An unnamed event, created non-signalled.
///
/// An event that could not be created converts to false. Setting and resetting it does nothing, and waiting for it
/// counts as woken, so that a shortage of handles can fail an operation but never hang it.
class Event {
public:
    Event() = default;

    [[nodiscard]] static Event manualReset() { return Event(CreateEventW(nullptr, TRUE, FALSE, nullptr)); }
    [[nodiscard]] static Event autoReset() { return Event(CreateEventW(nullptr, FALSE, FALSE, nullptr)); }

    explicit operator bool() const { return static_cast<bool>(m_Handle); }
    [[nodiscard]] HANDLE handle() const { return m_Handle.get(); }

    void set() const { SetEvent(m_Handle.get()); }
    void reset() const { ResetEvent(m_Handle.get()); }

    /// Waits up to `milliseconds`. Returns false only when the time ran out.
    [[nodiscard]] bool wokenWithin(DWORD milliseconds) const {
        return WaitForSingleObject(m_Handle.get(), milliseconds) != WAIT_TIMEOUT;
    }
    void wait() const { WaitForSingleObject(m_Handle.get(), INFINITE); }

private:
    explicit Event(HANDLE handle) : m_Handle(handle) {}

    UniqueHandle m_Handle;
};

} // namespace directsound
