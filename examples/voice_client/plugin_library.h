// directsound_win64.dll, loaded by name, and its fifteen functions.
#pragma once

#include "orvosoundbackend.h"

#include <windows.h>

class PluginLibrary {
public:
    // Throws std::runtime_error when the DLL or one of its functions is missing.
    PluginLibrary();
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    // plugin.orvosoundbackend_initialize and so on.
#define DECLARE_EXPORT(name) name##_fn name = nullptr;
    ORVOSOUNDBACKEND_EXPORTS(DECLARE_EXPORT)
#undef DECLARE_EXPORT

private:
    HMODULE m_Module;
};
