#include "plugin_library.h"

#include <stdexcept>
#include <string>

namespace live {
namespace {

FARPROC find(HMODULE module, const char* name) {
    const FARPROC function = GetProcAddress(module, name);
    if (function == nullptr)
        throw std::runtime_error(std::string("the DLL does not export ") + name);
    return function;
}

} // namespace

PluginLibrary::PluginLibrary() : m_module(LoadLibraryW(L"directsound_win64.dll")) {
    if (m_module == nullptr)
        throw std::runtime_error("directsound_win64.dll cannot be loaded");
// By way of void*: the compilers warn about a direct cast between function types.
#define ORVO_FIND(name) name = reinterpret_cast<name##_fn>(reinterpret_cast<void*>(find(m_module, #name)));
    ORVOSOUNDBACKEND_EXPORTS(ORVO_FIND)
#undef ORVO_FIND
}

PluginLibrary::~PluginLibrary() {
    FreeLibrary(m_module);
}

} // namespace live
