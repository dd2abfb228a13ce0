#include "console/interrupt.h"

#include <atomic>
#include <stdexcept>

namespace soundcheck {
namespace {

/** The system ends a process about five seconds after its window was closed. */
constexpr DWORD kOrderlyEndMilliseconds = 4500;

std::atomic<Interrupt*> current = nullptr;

} // namespace

Interrupt::Interrupt()
    : m_requested(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_ended(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    if (!m_requested || !m_ended)
        throw std::runtime_error("No event can be created.");
    current = this;
    SetConsoleCtrlHandler(handle, TRUE);
}

Interrupt::~Interrupt() {
    SetEvent(m_ended.get());
    SetConsoleCtrlHandler(handle, FALSE);
    current = nullptr;
}

bool Interrupt::waitFor(std::chrono::milliseconds time) const {
    return WaitForSingleObject(m_requested.get(), static_cast<DWORD>(time.count())) == WAIT_OBJECT_0;
}

void Interrupt::request() {
    SetEvent(m_requested.get());
}

BOOL WINAPI Interrupt::handle(DWORD event) {
    Interrupt* const interrupt = current;
    if (interrupt == nullptr)
        return FALSE;
    const bool first = !interrupt->requested();
    interrupt->request();
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) {
        if (!first) // the system would do the same, but Wine's would call it success
            TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_CONTROL_C_EXIT));
        return TRUE;
    }
    // When this returns the system ends the process: give the main thread the time to close the devices.
    WaitForSingleObject(interrupt->m_ended.get(), kOrderlyEndMilliseconds);
    return TRUE;
}

} // namespace soundcheck
