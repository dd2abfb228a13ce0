#include "plugin_library.h"

#include <stdexcept>

PluginLibrary::PluginLibrary() : m_Module(LoadLibraryW(L"directsound_win64.dll")) {
    if (!m_Module)
        throw std::runtime_error("directsound_win64.dll cannot be loaded");
    bool complete = true;
#define LOOK_UP_EXPORT(name)                                                                                         \
    (name) = reinterpret_cast<name##_fn>(reinterpret_cast<void (*)()>(GetProcAddress(m_Module, #name)));             \
    complete = complete && (name);
    ORVOSOUNDBACKEND_EXPORTS(LOOK_UP_EXPORT)
#undef LOOK_UP_EXPORT
    if (complete)
        return;
    FreeLibrary(m_Module);
    throw std::runtime_error("directsound_win64.dll is not the one that was expected");
}

PluginLibrary::~PluginLibrary() {
    FreeLibrary(m_Module);
}
