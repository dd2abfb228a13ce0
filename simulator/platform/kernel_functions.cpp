// Critical sections, events, handles, waits, threads.
#include "world.h"

#include <windows.h>

#include <process.h>

namespace simulator {
namespace {

// The world, when the section or handle is its affair. On a thread that the simulation did not start there is no way on
// then: to the real system they are garbage.
World* worldOf(const CRITICAL_SECTION* section, const char* call) {
    World* w = world();
    if (w && !Scheduler::current()) {
        if (w->kernel.knows(section))
            Scheduler::refuseOtherThread(call);
        return nullptr;
    }
    return w && w->kernel.owns(section) ? w : nullptr;
}

World* worldOf(HANDLE handle, const char* call) {
    World* w = world();
    if (w && !Scheduler::current()) {
        if (Kernel::isSimulated(handle))
            Scheduler::refuseOtherThread(call);
        return nullptr;
    }
    return !handle || Kernel::isSimulated(handle) ? w : nullptr;
}

void WINAPI initializeSection(CRITICAL_SECTION* section) {
    World* w = scheduledWorld();
    if (!w)
        return InitializeCriticalSection(section);
    w->call("InitializeCriticalSection", "", 0, [&] { return w->kernel.initialize(section), 1; });
}

void WINAPI deleteSection(CRITICAL_SECTION* section) {
    World* w = worldOf(section, "DeleteCriticalSection");
    if (!w)
        return DeleteCriticalSection(section);
    w->call("DeleteCriticalSection", w->kernel.nameOf(section), 0, [&] { return w->kernel.remove(section), 1; });
}

void WINAPI enterSection(CRITICAL_SECTION* section) {
    World* w = worldOf(section, "EnterCriticalSection");
    if (!w)
        return EnterCriticalSection(section);
    w->call("EnterCriticalSection", w->kernel.nameOf(section), 0, [&] { return w->kernel.enter(section), 1; });
}

BOOL WINAPI tryEnterSection(CRITICAL_SECTION* section) {
    World* w = worldOf(section, "TryEnterCriticalSection");
    if (!w)
        return TryEnterCriticalSection(section);
    return w->call("TryEnterCriticalSection", w->kernel.nameOf(section), FALSE,
                   [&]() -> BOOL { return w->kernel.tryEnter(section); });
}

void WINAPI leaveSection(CRITICAL_SECTION* section) {
    World* w = worldOf(section, "LeaveCriticalSection");
    if (!w)
        return LeaveCriticalSection(section);
    w->call("LeaveCriticalSection", w->kernel.nameOf(section), 0, [&] { return w->kernel.leave(section), 1; });
}

HANDLE WINAPI createEvent(LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL signalled, LPCWSTR name) {
    World* w = scheduledWorld();
    if (!w)
        return CreateEventW(security, manual, signalled, name);
    if (name || security)
        w->findings.add("CreateEventW with a name or a security descriptor");
    return w->call<HANDLE>(
        "CreateEventW", "", nullptr, [&] { return w->kernel.createEvent(manual != FALSE, signalled != FALSE); },
        std::string(manual ? "manual reset" : "auto reset") + (signalled ? ", set" : ""));
}

BOOL WINAPI setEvent(HANDLE event) {
    World* w = worldOf(event, "SetEvent");
    if (!w)
        return SetEvent(event);
    return w->call("SetEvent", w->kernel.nameOf(event), FALSE, [&]() -> BOOL { return w->kernel.signal(event); });
}

BOOL WINAPI resetEvent(HANDLE event) {
    World* w = worldOf(event, "ResetEvent");
    if (!w)
        return ResetEvent(event);
    return w->call("ResetEvent", w->kernel.nameOf(event), FALSE, [&]() -> BOOL { return w->kernel.reset(event); });
}

BOOL WINAPI closeHandle(HANDLE handle) {
    World* w = worldOf(handle, "CloseHandle");
    if (!w)
        return CloseHandle(handle);
    return w->call("CloseHandle", w->kernel.nameOf(handle), FALSE, [&]() -> BOOL { return w->kernel.close(handle); });
}

DWORD WINAPI waitForSingle(HANDLE handle, DWORD milliseconds) {
    World* w = worldOf(handle, "WaitForSingleObject");
    if (!w)
        return WaitForSingleObject(handle, milliseconds);
    return w->call<DWORD>(
        "WaitForSingleObject", w->kernel.nameOf(handle), WAIT_FAILED,
        [&] {
            return w->kernel.waitForAny({&handle, 1}, milliseconds);
        },
        milliseconds == INFINITE ? "INFINITE" : std::to_string(milliseconds));
}

DWORD WINAPI waitForMultiple(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds) {
    World* w = nullptr;
    for (DWORD i = 0; !w && i < count; ++i)
        w = worldOf(handles[i], "WaitForMultipleObjects");
    if (!w)
        return WaitForMultipleObjects(count, handles, all, milliseconds);
    if (all)
        w->findings.add("WaitForMultipleObjects for all handles is not simulated");
    std::string names;
    for (DWORD i = 0; i < count; ++i)
        names += (i > 0 ? " " : "") + w->kernel.nameOf(handles[i]);
    return w->call<DWORD>(
        "WaitForMultipleObjects", names, WAIT_FAILED,
        [&] {
            return w->kernel.waitForAny({handles, count}, milliseconds);
        },
        milliseconds == INFINITE ? "INFINITE" : std::to_string(milliseconds));
}

std::uintptr_t __cdecl beginThread(void* security, unsigned stack, unsigned(__stdcall* start)(void*), void* argument,
                                   unsigned flags, unsigned* id) {
    World* w = scheduledWorld("_beginthreadex");
    if (!w)
        return _beginthreadex(security, stack, start, argument, flags, id);
    for (const auto& [given, what] : {std::pair(security != nullptr, "a security descriptor"),
                                      {stack != 0, "a stack size"},
                                      {flags != 0, "flags"},
                                      {id != nullptr, "an id"}}) {
        if (given)
            w->findings.add(std::string("_beginthreadex with ") + what + " is not simulated");
    }
    auto* const thread = w->call<HANDLE>("_beginthreadex", "", nullptr, [&] {
        return w->kernel.createThread("thread" + std::to_string(++w->pluginThreads), [=] { start(argument); });
    });
    return reinterpret_cast<std::uintptr_t>(thread);
}

void __cdecl endThread(unsigned code) {
    if (World* w = scheduledWorld()) {
        if (code != 0)
            w->findings.add("_endthreadex with another code than 0 by " + Scheduler::current()->name);
        w->call("_endthreadex", "", 0, [] { return 1; });
        w->scheduler.finishCurrent();
    }
    _endthreadex(code);
}

BOOL WINAPI setThreadPriority(HANDLE thread, int priority) {
    World* w = scheduledWorld();
    if (!w || thread != GetCurrentThread())
        return SetThreadPriority(thread, priority);
    return w->call(
        "SetThreadPriority", "", FALSE, [&]() -> BOOL { return Scheduler::current()->priority = priority, TRUE; },
        std::to_string(priority));
}

void WINAPI sleep(DWORD milliseconds) {
    World* w = scheduledWorld();
    if (!w)
        return Sleep(milliseconds);
    w->call(
        "Sleep", "", 0, [&] { return w->scheduler.wait(w->scheduler.deadlineIn(milliseconds)), 1; },
        std::to_string(milliseconds));
}

} // namespace

std::vector<Replacement> kernelFunctions() {
    return {
        replacement("InitializeCriticalSection", &initializeSection),
        replacement("DeleteCriticalSection", &deleteSection),
        replacement("EnterCriticalSection", &enterSection),
        replacement("TryEnterCriticalSection", &tryEnterSection),
        replacement("LeaveCriticalSection", &leaveSection),
        replacement("CreateEventW", &createEvent),
        replacement("SetEvent", &setEvent),
        replacement("ResetEvent", &resetEvent),
        replacement("CloseHandle", &closeHandle),
        replacement("WaitForSingleObject", &waitForSingle),
        replacement("WaitForMultipleObjects", &waitForMultiple),
        replacement("_beginthreadex", &beginThread),
        replacement("_endthreadex", &endThread),
        replacement("SetThreadPriority", &setThreadPriority),
        replacement("Sleep", &sleep),
    };
}

} // namespace simulator
