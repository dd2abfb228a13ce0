/**
 * @file
 * The plug-in's DLL, loaded by name at run time: nothing of it is linked.
 *
 * Thread: any; the object is constant once it is made. Ownership: the DLL is unloaded with the object, so a
 * Library outlives every Backend made from it. Failure: the constructor throws LibraryError.
 */
#pragma once

#include "client/errors.h"
#include "orvosoundbackend.h"

#include <windows.h>

#include <filesystem>
#include <memory>
#include <string_view>
#include <type_traits>

namespace soundcheck {

/** The fifteen functions under their own names: the list in the plug-in's header writes this record. */
struct Exports {
#define SOUNDCHECK_DECLARE_EXPORT(name) name##_fn name = nullptr;
    ORVOSOUNDBACKEND_EXPORTS(SOUNDCHECK_DECLARE_EXPORT)
#undef SOUNDCHECK_DECLARE_EXPORT
};

class Library {
public:
    static constexpr const wchar_t* kFileName = L"directsound_win64.dll";

    /** @param file the DLL; a path without a folder is looked up beside the program */
    explicit Library(const std::filesystem::path& file = kFileName);

    const Exports& exports() const { return m_exports; }

    /** Where the DLL was really loaded from. */
    std::filesystem::path path() const;

    /** Throws BackendError with the plug-in's text when `result` is negative. `step` begins the sentence. */
    void check(BackendResult result, std::string_view step) const;

private:
    struct Unload {
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };
    std::unique_ptr<std::remove_pointer_t<HMODULE>, Unload> m_module;
    Exports m_exports;
};

} // namespace soundcheck
