#pragma once

#include <windows.h>

#include <objbase.h>

#include <cstdlib>
#include <memory>

namespace directsound {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};
struct LocalFreeDeleter {
    void operator()(void* memory) const { LocalFree(memory); }
};
struct CoTaskMemDeleter {
    void operator()(void* memory) const { CoTaskMemFree(memory); }
};

/// Memory from malloc.
template <typename T>
using UniqueMalloc = std::unique_ptr<T, FreeDeleter>;
/// Memory from LocalAlloc or FormatMessageW.
template <typename T>
using UniqueLocal = std::unique_ptr<T, LocalFreeDeleter>;
/// Memory that a COM function handed out.
template <typename T>
using UniqueCoTaskMem = std::unique_ptr<T, CoTaskMemDeleter>;

} // namespace directsound
