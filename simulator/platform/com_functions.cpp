// COM initialization, GUID texts, task memory, the hidden window.
#include "world.h"

#include <windows.h>

#include <objbase.h>

namespace simulator {
namespace {

std::uintptr_t threadKey() {
    return static_cast<std::uintptr_t>(Scheduler::current()->number);
}

// The real COM stays out of it: nothing that is simulated needs it.
HRESULT WINAPI initialize(LPVOID reserved, DWORD flags) {
    World* w = scheduledWorld("CoInitializeEx");
    if (!w)
        return CoInitializeEx(reserved, flags);
    return w->call<HRESULT>(
        "CoInitializeEx", "", E_OUTOFMEMORY,
        [&]() -> HRESULT {
            const auto [apartment, isNew] = w->apartments.try_emplace(Scheduler::current(), flags);
            if ((apartment->second ^ flags) & COINIT_APARTMENTTHREADED)
                return RPC_E_CHANGED_MODE;
            w->ledger.take(Kind::comInitialization, threadKey(), "on " + Scheduler::current()->name);
            return isNew ? S_OK : S_FALSE;
        },
        "flags " + std::to_string(flags));
}

void WINAPI uninitialize() {
    World* w = scheduledWorld("CoUninitialize");
    if (!w)
        return CoUninitialize();
    w->call("CoUninitialize", "", 0, [&] {
        if (!w->ledger.give(Kind::comInitialization, threadKey()))
            w->findings.add("CoUninitialize on " + Scheduler::current()->name + ", which did not initialize COM");
        if (!w->ledger.holds(Kind::comInitialization, threadKey()))
            w->apartments.erase(Scheduler::current());
        return 1;
    });
}

HRESULT WINAPI stringFromClsid(REFCLSID guid, LPOLESTR* text) {
    World* w = scheduledWorld("StringFromCLSID");
    if (!w)
        return StringFromCLSID(guid, text);
    return w->call<HRESULT>("StringFromCLSID", "", E_OUTOFMEMORY, [&] {
        const HRESULT result = StringFromCLSID(guid, text);
        if (SUCCEEDED(result))
            w->ledger.take(Kind::taskMemory, reinterpret_cast<std::uintptr_t>(*text), "of StringFromCLSID");
        return result;
    });
}

HRESULT WINAPI clsidFromString(LPCOLESTR text, LPCLSID guid) {
    World* w = scheduledWorld("CLSIDFromString");
    if (!w)
        return CLSIDFromString(text, guid);
    return w->call<HRESULT>("CLSIDFromString", "", CO_E_CLASSSTRING, [&] { return CLSIDFromString(text, guid); });
}

void WINAPI taskMemFree(LPVOID memory) {
    World* w = scheduledWorld();
    if (w)
        w->briefCall("CoTaskMemFree"); // it has no way to fail
    if (w && memory && !w->ledger.give(Kind::taskMemory, reinterpret_cast<std::uintptr_t>(memory)))
        w->findings.add("CoTaskMemFree of memory that is not taken");
    else
        CoTaskMemFree(memory);
}

HWND WINAPI createWindow(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x, int y, int width,
                         int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID data) {
    World* w = scheduledWorld("CreateWindowExW");
    if (!w)
        return CreateWindowExW(exStyle, className, title, style, x, y, width, height, parent, menu, instance, data);
    std::string arguments;
    for (const wchar_t* text : {className, title}) {
        for (; text && *text; ++text)
            arguments += static_cast<char>(*text);
        arguments += ' ';
    }
    const bool zero = exStyle == 0 && style == 0 && x == 0 && y == 0 && width == 0 && height == 0 && !menu && !data;
    arguments += zero ? "zero " : "not-zero ";
    arguments += parent == HWND_MESSAGE ? "message-only " : "visible ";
    arguments += instance == GetModuleHandleW(nullptr) ? "process" : "other";
    return w->call<HWND>(
        "CreateWindowExW", "", nullptr,
        [&] {
            const std::uintptr_t window = 0x00C00000 + 2 * ++w->windows;
            w->ledger.take(Kind::window, window, "of " + Scheduler::current()->name);
            w->windowOwners[window] = Scheduler::current();
            return reinterpret_cast<HWND>(window);
        },
        arguments);
}

BOOL WINAPI destroyWindow(HWND window) {
    World* w = scheduledWorld("DestroyWindow");
    if (!w)
        return DestroyWindow(window);
    return w->call("DestroyWindow", "", FALSE, [&]() -> BOOL {
        const auto key = reinterpret_cast<std::uintptr_t>(window);
        if (!w->ledger.holds(Kind::window, key)) {
            w->findings.add("DestroyWindow of something that is no window");
            SetLastError(ERROR_INVALID_WINDOW_HANDLE);
            return FALSE;
        }
        if (const ThreadState* owner = w->windowOwners[key]; owner != Scheduler::current()) {
            w->findings.add("DestroyWindow by " + Scheduler::current()->name + " of a window of " + owner->name);
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        }
        return w->ledger.give(Kind::window, key);
    });
}

} // namespace

std::vector<Replacement> comFunctions() {
    return {
        replacement("CoInitializeEx", &initialize),       replacement("CoUninitialize", &uninitialize),
        replacement("StringFromCLSID", &stringFromClsid), replacement("CLSIDFromString", &clsidFromString),
        replacement("CoTaskMemFree", &taskMemFree),       replacement("CreateWindowExW", &createWindow),
        replacement("DestroyWindow", &destroyWindow),
    };
}

} // namespace simulator
