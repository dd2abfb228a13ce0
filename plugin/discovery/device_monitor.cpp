#include "discovery/device_monitor.h"

#include "diagnostics/error_report.h"
#include "diagnostics/message.h"
#include "diagnostics/sinks.h"
#include "platform/com_apartment.h"

#include <process.h>

#include <mutex>
#include <tuple>

namespace directsound {
namespace {

constexpr DWORD kWakeMilliseconds = 1000;

/// One line that ends in the last system error, which is read before anything can change it.
void reportSystemFailure(const char* what) {
    const DWORD error = GetLastError();
    writeErrorLine(message(what, error));
}

} // namespace

DeviceMonitor::DeviceMonitor(const BackendCallbacks& callbacks) : m_Callbacks(callbacks) {
    m_WakeEvent = Event::manualReset();
    m_Closing.createEvent();
    if (!m_WakeEvent) {
        writeErrorLine("Error int CreateEvent");
        return;
    }
    m_DefaultWatch.emplace();
    rescan(Scan::Initial);
    m_Thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, threadProcedure, this, 0, nullptr));
}

void DeviceMonitor::end() noexcept {
    {
        const std::lock_guard guard(m_Lock);
        m_StopRequested = true;
        m_WakeEvent.set();
    }
    if (m_Thread != nullptr)
        WaitForSingleObject(m_Thread, INFINITE);
    m_Closing.closeAll();
}

DeviceMap DeviceMonitor::devices(DeviceDirection direction) const {
    const std::lock_guard guard(m_Lock);
    return m_Devices[indexOf(direction)];
}

void DeviceMonitor::closeLater(ClosingList::Devices& device) noexcept {
    const std::lock_guard guard(m_Lock);
    m_Closing.append(device);
    m_WakeEvent.set();
}

void DeviceMonitor::waitForClosed() {
    bool onOwnThread = false;
    {
        const std::lock_guard guard(m_Lock);
        if (!m_Closing.expectClosing())
            return;
        onOwnThread = m_ThreadId == GetCurrentThreadId();
    }
    writeErrorLine("Waiting for device to close");
    // Without a thread nobody else would ever close the devices.
    if (onOwnThread || m_Thread == nullptr)
        m_Closing.closeAll();
    else
        m_Closing.wait();
}

unsigned __stdcall DeviceMonitor::threadProcedure(void* monitor) {
    // An inner function does the work, since _endthreadex skips the destructors of this one.
    try {
        static_cast<DeviceMonitor*>(monitor)->runThread();
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Out of memory while a failure was being reported.
    }
    _endthreadex(0);
    return 0;
}

void DeviceMonitor::runThread() {
    {
        const std::lock_guard guard(m_Lock);
        m_ThreadId = GetCurrentThreadId();
    }
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_NORMAL);
    ComApartment apartment;
    if (!apartment.entered()) {
        reportComFailure(apartment.result());
        return;
    }
    watch(apartment);
}

void DeviceMonitor::watch(ComApartment& apartment) {
    LARGE_INTEGER lastRescan{};
    if (QueryPerformanceCounter(&lastRescan) == FALSE) {
        reportSystemFailure("error during QueryPerformanceCounter");
        return;
    }
    for (;;) {
        std::ignore = m_WakeEvent.wokenWithin(kWakeMilliseconds);
        if (stopRequested())
            return;
        m_WakeEvent.reset();
        // Once more, since the reset may have swallowed the signal to stop.
        if (stopRequested())
            return;
        m_Closing.closeAll();

        LARGE_INTEGER frequency{};
        if (QueryPerformanceFrequency(&frequency) == FALSE) {
            reportSystemFailure("error during QueryPerformanceFrequency");
            apartment.abandon(); // kept: COM stays initialized on this way out
            return;
        }
        rescanWhenDue(lastRescan, frequency);
    }
}

void DeviceMonitor::rescanWhenDue(LARGE_INTEGER& lastRescan, const LARGE_INTEGER& frequency) noexcept {
    LARGE_INTEGER now{};
    if (QueryPerformanceCounter(&now) == FALSE || now.QuadPart - lastRescan.QuadPart <= frequency.QuadPart)
        return;
    try {
        rescan(Scan::Repeated);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Out of memory: abandoned like any other rescan that fails on its way.
    }
    // Again, so that the rescan's own duration does not count.
    if (QueryPerformanceCounter(&lastRescan) == FALSE)
        lastRescan = now;
}

bool DeviceMonitor::stopRequested() const {
    const std::lock_guard guard(m_Lock);
    return m_StopRequested;
}

} // namespace directsound
