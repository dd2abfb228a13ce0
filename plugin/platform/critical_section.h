#pragma once

#include <windows.h>

namespace directsound {

/// A recursive lock of this process. Named so that `std::lock_guard` takes it.
class CriticalSection {
public:
    CriticalSection() { InitializeCriticalSection(&m_Section); }
    ~CriticalSection() { DeleteCriticalSection(&m_Section); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void lock() { EnterCriticalSection(&m_Section); }
    [[nodiscard]] bool try_lock() { return TryEnterCriticalSection(&m_Section) != FALSE; }
    void unlock() { LeaveCriticalSection(&m_Section); }

private:
    CRITICAL_SECTION m_Section;
};

} // namespace directsound
