#include "devices/dsp_lock.h"

#include <array>

namespace directsound {

void DspLock::lock() {
    m_Section.lock();
    countEntry();
}

void DspLock::unlock() {
    if (--lockCount == 0) {
        // Set before the section is left: the next owner's reset must not be undone by this set.
        dspIdleEvent.set();
        m_Section.unlock();
    }
}

bool DspLock::lockUnlessCommanded(const Event& command) {
    const std::array<HANDLE, 2> handles{command.handle(), dspIdleEvent.handle()};
    while (!m_Section.try_lock()) {
        const DWORD woken =
            WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, INFINITE);
        if (woken == WAIT_OBJECT_0)
            return false;
        // A wait that fails, for want of an event, must not hide the command.
        if (woken == WAIT_FAILED && command.wokenWithin(0))
            return false;
    }
    countEntry();
    return true;
}

void DspLock::countEntry() {
    if (lockCount == 0)
        dspIdleEvent.reset();
    ++lockCount;
}

} // namespace directsound
