// System messages, text conversion, local memory.
#include "world.h"

#include <windows.h>

namespace simulator {
namespace {

// The arguments of a conversion, for the record.
std::string conversion(UINT page, DWORD flags, int length, int capacity) {
    return "page " + std::to_string(page) + " flags " + std::to_string(flags) + " length " + std::to_string(length) +
           " capacity " + std::to_string(capacity);
}

// A conversion that fails may have written the begin of its text before.
template <class From, class To>
void writePart(const From* source, int length, To* target, int capacity) {
    for (int i = 0; i < capacity / 2 && (length < 0 ? source[i] != From{} : i < length / 2); ++i)
        target[i] = static_cast<To>(source[i]);
}

void noteLocal(World& w, const void* memory, const char* source) {
    w.ledger.take(Kind::localMemory, reinterpret_cast<std::uintptr_t>(memory), std::string("of ") + source);
}

DWORD WINAPI formatMessage(DWORD flags, LPCVOID source, DWORD id, DWORD language, LPWSTR buffer, DWORD size,
                           va_list* arguments) {
    World* w = scheduledWorld();
    if (!w)
        return FormatMessageW(flags, source, id, language, buffer, size, arguments);
    const auto format = [&]() -> DWORD {
        auto** allocated = static_cast<wchar_t**>(static_cast<void*>(buffer));
        const bool allocates = (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
        DWORD length = 0;
        if (const auto scripted = w->system.messages.find(id); scripted != w->system.messages.end() && allocates) {
            const std::wstring& text = scripted->second;
            if (text.empty()) {
                SetLastError(ERROR_MR_MID_NOT_FOUND);
                return 0;
            }
            *allocated = static_cast<wchar_t*>(LocalAlloc(LPTR, (text.size() + 1) * sizeof(wchar_t)));
            text.copy(*allocated, text.size());
            length = static_cast<DWORD>(text.size());
        } else {
            length = FormatMessageW(flags, source, id, language, buffer, size, arguments);
        }
        if (length > 0 && allocates)
            noteLocal(*w, *allocated, "FormatMessageW");
        return length;
    };
    return w->call<DWORD>("FormatMessageW", "", 0, format,
                          "flags " + std::to_string(flags) + " language " + std::to_string(language) +
                              (source || arguments ? " with a source" : ""));
}

HLOCAL WINAPI localAlloc(UINT flags, SIZE_T bytes) {
    World* w = scheduledWorld();
    if (!w)
        return LocalAlloc(flags, bytes);
    return w->call<HLOCAL>("LocalAlloc", "", nullptr, [&] {
        const HLOCAL memory = LocalAlloc(flags, bytes);
        if (memory)
            noteLocal(*w, memory, "LocalAlloc");
        return memory;
    });
}

HLOCAL WINAPI localFree(HLOCAL memory) {
    World* w = scheduledWorld();
    if (w && w->briefCall("LocalFree").fails)
        return memory;
    if (w && memory && !w->ledger.give(Kind::localMemory, reinterpret_cast<std::uintptr_t>(memory))) {
        w->findings.add("LocalFree of memory that is not taken");
        return memory;
    }
    return LocalFree(memory);
}

int WINAPI narrowToWide(UINT page, DWORD flags, LPCCH source, int length, LPWSTR target, int capacity) {
    World* w = scheduledWorld();
    if (!w)
        return MultiByteToWideChar(page, flags, source, length, target, capacity);
    bool madeToFail = true;
    const int result = w->call(
        "MultiByteToWideChar", "", 0,
        [&] {
            madeToFail = false;
            return MultiByteToWideChar(page, flags, source, length, target, capacity);
        },
        conversion(page, flags, length, capacity));
    if (madeToFail)
        writePart(source, length, target, capacity);
    return result;
}

int WINAPI wideToNarrow(UINT page, DWORD flags, LPCWCH source, int length, LPSTR target, int capacity,
                        LPCCH defaultCharacter, LPBOOL usedDefault) {
    World* w = scheduledWorld();
    if (!w)
        return WideCharToMultiByte(page, flags, source, length, target, capacity, defaultCharacter, usedDefault);
    bool madeToFail = true;
    const int result = w->call(
        "WideCharToMultiByte", "", 0,
        [&] {
            madeToFail = false;
            return WideCharToMultiByte(page, flags, source, length, target, capacity, defaultCharacter, usedDefault);
        },
        conversion(page, flags, length, capacity) + (defaultCharacter || usedDefault ? " with a default" : ""));
    if (madeToFail)
        writePart(source, length, target, capacity);
    return result;
}

} // namespace

std::vector<Replacement> textFunctions() {
    return {
        replacement("FormatMessageW", &formatMessage),
        replacement("LocalAlloc", &localAlloc),
        replacement("LocalFree", &localFree),
        replacement("MultiByteToWideChar", &narrowToWide),
        replacement("WideCharToMultiByte", &wideToNarrow),
    };
}

} // namespace simulator
