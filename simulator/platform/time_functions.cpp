// Multimedia timer, performance counter, version of the system.
#include "world.h"

#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <tuple>

namespace simulator {
namespace {

// Milliseconds, as timeGetDevCaps answers.
UINT longestPeriod(const World& w) {
    constexpr UINT kUsual = 1'000'000;
    return std::max<UINT>(kUsual, w.system.timerMinimum);
}

// No switching point: it touches nothing that another thread could see, and would multiply the schedules.
DWORD WINAPI getTime() {
    World* w = scheduledWorld("timeGetTime");
    if (!w)
        return timeGetTime();
    if (const Verdict verdict = w->briefCall("timeGetTime"); verdict.fails)
        return static_cast<DWORD>(verdict.result.value_or(0));
    return w->system.clockStart + static_cast<DWORD>(w->scheduler.now() / kMillisecond);
}

MMRESULT WINAPI getDeviceCaps(LPTIMECAPS caps, UINT size) {
    World* w = scheduledWorld("timeGetDevCaps");
    if (!w)
        return timeGetDevCaps(caps, size);
    return w->call<MMRESULT>("timeGetDevCaps", "", TIMERR_NOCANDO, [&]() -> MMRESULT {
        if (!caps || size < sizeof(*caps))
            return TIMERR_NOCANDO;
        caps->wPeriodMin = w->system.timerMinimum;
        caps->wPeriodMax = longestPeriod(*w);
        return TIMERR_NOERROR;
    });
}

MMRESULT WINAPI beginPeriod(UINT period) {
    World* w = scheduledWorld("timeBeginPeriod");
    if (!w)
        return timeBeginPeriod(period);
    return w->call<MMRESULT>(
        "timeBeginPeriod", "", TIMERR_NOCANDO,
        [&]() -> MMRESULT {
            if (period < w->system.timerMinimum || period > longestPeriod(*w))
                return TIMERR_NOCANDO;
            w->ledger.take(Kind::timerPeriod, period, std::to_string(period) + " ms");
            return TIMERR_NOERROR;
        },
        std::to_string(period));
}

MMRESULT WINAPI endPeriod(UINT period) {
    World* w = scheduledWorld("timeEndPeriod");
    if (!w)
        return timeEndPeriod(period);
    return w->call<MMRESULT>(
        "timeEndPeriod", "", TIMERR_NOCANDO,
        [&]() -> MMRESULT {
            if (w->ledger.give(Kind::timerPeriod, period))
                return TIMERR_NOERROR;
            w->findings.add("timeEndPeriod of " + std::to_string(period) + " ms, which nobody began");
            return TIMERR_NOCANDO;
        },
        std::to_string(period));
}

BOOL WINAPI queryCounter(LARGE_INTEGER* counter) {
    World* w = scheduledWorld();
    if (!w)
        return QueryPerformanceCounter(counter);
    return w->call("QueryPerformanceCounter", "", FALSE, [&]() -> BOOL {
        const auto whole = w->scheduler.now() / kSecond * w->system.counterFrequency;
        const auto part = w->scheduler.now() % kSecond * w->system.counterFrequency / kSecond;
        counter->QuadPart = w->system.counterStart + whole + part;
        return TRUE;
    });
}

BOOL WINAPI queryFrequency(LARGE_INTEGER* frequency) {
    World* w = scheduledWorld();
    if (!w)
        return QueryPerformanceFrequency(frequency);
    return w->call("QueryPerformanceFrequency", "", FALSE, [&]() -> BOOL {
        frequency->QuadPart = w->system.counterFrequency;
        return TRUE;
    });
}

// Only the question "at least this version", which is the one that makes sense.
BOOL WINAPI verifyVersion(LPOSVERSIONINFOEXW wanted, DWORD mask, DWORDLONG conditions) {
    World* w = scheduledWorld("VerifyVersionInfoW");
    if (!w)
        return VerifyVersionInfoW(wanted, mask, conditions);
    return w->call(
        "VerifyVersionInfoW", "", FALSE,
        [&]() -> BOOL {
            if (wanted->dwOSVersionInfoSize != sizeof(*wanted)) {
                w->findings.add("VerifyVersionInfoW is not told the size of its record");
                SetLastError(ERROR_INVALID_PARAMETER);
                return FALSE;
            }
            if (mask != (VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR))
                w->findings.add("VerifyVersionInfoW does not ask for major, minor and service pack");
            DWORDLONG atLeast = 0;
            for (const DWORD part : {DWORD{VER_MAJORVERSION}, DWORD{VER_MINORVERSION}, DWORD{VER_SERVICEPACKMAJOR}})
                atLeast = VerSetConditionMask(atLeast, part, VER_GREATER_EQUAL);
            if (conditions != atLeast)
                w->findings.add("VerifyVersionInfoW asks for something else than at least a version");
            const SystemScript& system = w->system;
            if (std::tuple<DWORD, DWORD, DWORD>(system.majorVersion, system.minorVersion, system.servicePack) >=
                std::tuple<DWORD, DWORD, DWORD>(wanted->dwMajorVersion, wanted->dwMinorVersion,
                                                wanted->wServicePackMajor))
                return TRUE;
            SetLastError(ERROR_OLD_WIN_VERSION);
            return FALSE;
        },
        std::to_string(wanted->dwMajorVersion) + "." + std::to_string(wanted->dwMinorVersion));
}

} // namespace

std::vector<Replacement> timeFunctions() {
    return {
        replacement("timeGetTime", &getTime),
        replacement("timeGetDevCaps", &getDeviceCaps),
        replacement("timeBeginPeriod", &beginPeriod),
        replacement("timeEndPeriod", &endPeriod),
        replacement("QueryPerformanceCounter", &queryCounter),
        replacement("QueryPerformanceFrequency", &queryFrequency),
        replacement("VerifyVersionInfoW", &verifyVersion),
    };
}

} // namespace simulator
