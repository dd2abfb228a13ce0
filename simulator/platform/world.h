// The one simulated world of the process, as the replaced functions see it.
#pragma once

#include "../faults/findings.h"
#include "../faults/guard_heap.h"
#include "../faults/ledger.h"
#include "../faults/script.h"
#include "../import_table/import_table.h"
#include "../schedule/kernel.h"
#include "../schedule/scheduler.h"

#include <map>
#include <string>
#include <type_traits>
#include <vector>

namespace simulator {

class SoundSystem;

// Lines that the DLL wrote to the standard streams, and whether each was flushed by the end of the line.
struct StreamCapture {
    std::string out;
    std::string error;
    unsigned outFlushes = 0;
    unsigned errorFlushes = 0;
};

// What the script says about the system itself.
struct SystemScript {
    DWORD majorVersion = 10;
    DWORD minorVersion = 0;
    DWORD servicePack = 0;
    DWORD timerMinimum = 1;       // milliseconds, as timeGetDevCaps answers
    DWORD clockStart = 1'000'000; // timeGetTime at the begin; near 2^32 to see it wrap
    long long counterFrequency = 10'000'000;
    long long counterStart = 5'000'000'000;
    std::map<DWORD, std::wstring> messages;          // FormatMessageW answers these; "" means there is none
    std::optional<unsigned> waveOutputs, waveInputs; // otherwise the present devices are counted
};

struct World {
    Scheduler scheduler;
    Findings findings;
    Ledger ledger;
    Kernel kernel{scheduler, ledger, findings};
    GuardHeap heap{findings, [this] { return whereAndWhen(); }};
    Script script;
    SystemScript system;
    StreamCapture streams;
    SoundSystem* sound = nullptr;
    unsigned pluginThreads = 0;
    unsigned windows = 0;
    std::map<std::uintptr_t, const ThreadState*> windowOwners;
    std::map<const ThreadState*, DWORD> apartments; // flags of the first CoInitializeEx of threads that have COM

    // "by worker1 at 12 ms", for reports.
    [[nodiscard]] std::string whereAndWhen() const;

    // One platform call: switching point, script, work, record. `failure` is what the function answers when it is
    // made to fail without a value. The thread's last error number is as the work or the script leaves it.
    template <class Result, class Work>
    Result call(std::string_view name, std::string_view subject, Result failure, Work&& work,
                std::string arguments = {});

    // A call that is no business between threads, such as an allocation: the script's rules hold for it, their actions
    // and times are done with here, but it is no switching point, and it is counted without being recorded.
    Verdict briefCall(std::string_view name);
};

// Null while no simulation runs.
World* world();
void setWorld(World* world);

// The world, when the calling thread belongs to it. Calls of other threads go to the real system, because the runtime
// inside the DLL makes them on every thread of the process that begins or ends.
inline World* scheduledWorld() {
    return Scheduler::current() ? world() : nullptr;
}
// The same for calls that no runtime makes by itself. Another thread has called an export then, to which sections,
// events and devices mean nothing: while there is a world, that ends the process with a message.
World* scheduledWorld(const char* call);

// --- the replaced functions, by header of the system ---
std::vector<Replacement> kernelFunctions();
std::vector<Replacement> timeFunctions();
std::vector<Replacement> comFunctions();
std::vector<Replacement> textFunctions();
std::vector<Replacement> memoryFunctions();
std::vector<Replacement> streamFunctions();
std::vector<Replacement> soundFunctions();

// All of the above, in this order.
std::vector<Replacement> allFunctions();
// The names of those for which the script's rules hold.
std::vector<std::string> functionsWithRules();

template <class Function>
Replacement replacement(const char* name, Function* function) {
    return {name, reinterpret_cast<void*>(function)};
}

namespace detail {

template <class Result>
Result fromValue(long long value) {
    if constexpr (std::is_pointer_v<Result>)
        return reinterpret_cast<Result>(static_cast<std::uintptr_t>(value));
    else
        return static_cast<Result>(value);
}

template <class Result>
long long toValue(Result result) {
    if constexpr (std::is_pointer_v<Result>)
        return static_cast<long long>(reinterpret_cast<std::uintptr_t>(result));
    else
        return static_cast<long long>(result);
}

} // namespace detail

template <class Result, class Work>
Result World::call(std::string_view name, std::string_view subject, Result failure, Work&& work,
                   std::string arguments) {
    DWORD error = GetLastError();
    scheduler.point(name, subject);
    const Nanoseconds begin = scheduler.now();
    const Verdict verdict = script.next(name, subject);
    for (const auto& action : verdict.actions)
        action();
    scheduler.spend(verdict.time);
    Result result = failure;
    if (verdict.fails) {
        if (verdict.result)
            result = detail::fromValue<Result>(*verdict.result);
        error = verdict.error.value_or(error);
        scheduler.trace().add(scheduler.now(), Scheduler::current()->name, "  made to fail:", name);
    } else {
        SetLastError(error);
        result = work();
        error = GetLastError();
    }
    script.record({begin, Scheduler::current()->name, std::string(name), std::string(subject), std::move(arguments),
                   std::is_pointer_v<Result> ? (result ? 1 : 0) : detail::toValue(result)});
    SetLastError(error);
    return result;
}

} // namespace simulator
