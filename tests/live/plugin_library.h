// Loads the shipped DLL as a client does: by name, with nothing but its exports.
#pragma once

#include "orvosoundbackend.h"

#include <windows.h>

namespace live {

class PluginLibrary {
public:
    PluginLibrary(); ///< throws std::runtime_error when the DLL or an export is missing
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

#define ORVO_DECLARE(name) name##_fn name = nullptr;
    ORVOSOUNDBACKEND_EXPORTS(ORVO_DECLARE)
#undef ORVO_DECLARE

private:
    HMODULE m_module;
};

} // namespace live
