// The worker's side of a device: one thread that opens it, starts it, runs its data loop and stops it, once each.

#include "devices/device_context.h"
#include "diagnostics/error_report.h"
#include "platform/com_apartment.h"

#include <mutex>

namespace directsound {

void DeviceContext::runWorker() noexcept {
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL);
    const ComApartment apartment;
    if (!apartment.entered()) {
        // Kept: no command is ever answered then, and the client's open waits without end.
        reportComFailure(apartment.result());
        return;
    }
    runCommands();
    close();
}

void DeviceContext::runCommands() noexcept {
    if (!answerCommand(&DeviceContext::open, DeviceState::Open) ||
        !answerCommand(&DeviceContext::start, DeviceState::Running))
        return;
    try {
        processData(); // its result has been logged, and changes nothing here
    } catch (...) {    // NOLINT(bugprone-empty-catch)
        // Out of memory: the device stops like one that failed.
    }

    const std::lock_guard guard(m_Lock);
    if (m_State == DeviceState::TerminateRequested) {
        try {
            stop();     // the device goes in any case
        } catch (...) { // NOLINT(bugprone-empty-catch)
        }
        return;
    }
    m_CommandEvent.reset();
    carryOut(&DeviceContext::stop, DeviceState::Stopped);
}

bool DeviceContext::answerCommand(BackendResult (DeviceContext::*operation)(), DeviceState success) noexcept {
    m_CommandEvent.wait();
    const std::lock_guard guard(m_Lock);
    if (m_State == DeviceState::TerminateRequested)
        return false;
    m_CommandEvent.reset();
    return carryOut(operation, success);
}

bool DeviceContext::carryOut(BackendResult (DeviceContext::*operation)(), DeviceState success) noexcept {
    BackendResult result = ORVO_UNKNOWN;
    try {
        result = (this->*operation)();
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Out of memory: the result stays unknown.
    }
    m_ReplyEvent.set();
    if (result == ORVO_OK) {
        m_State = success;
        return true;
    }
    m_LastResult = result;
    m_State = DeviceState::Failed;
    return false;
}

} // namespace directsound
