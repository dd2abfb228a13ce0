// Loads a DLL and puts functions of ours into the slots of its import table.
//
// Only the DLL's own calls are redirected, and those of a runtime that is linked into it; the rest of the process keeps
// the real functions. What the DLL imports by number, loads with a delay or looks up while it runs is not redirected;
// isReplaced() tells.
#pragma once

#include <windows.h>

#include <filesystem>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace simulator {

struct Replacement {
    const char* function; // import name, looked for in every imported module
    void* with;
};

class ImportTable {
public:
    // Throws std::runtime_error when the DLL cannot be loaded, when a DLL of this name is loaded already (it would not
    // begin anew, or be another one than callers by name get), and when the process has hardly any slots for
    // thread-local data left (mingw-w64's runtime keeps one of about a thousand per load).
    explicit ImportTable(const std::filesystem::path& dll);
    ~ImportTable() { unload(); }
    ImportTable(const ImportTable&) = delete;
    ImportTable& operator=(const ImportTable&) = delete;

    void replace(std::span<const Replacement> replacements);
    // Whether the DLL's calls of this function are redirected; false, too, when it does not import it by name.
    [[nodiscard]] bool isReplaced(const std::string& function) const { return m_Replaced.contains(function); }

    // Unloads the DLL; the slots stay replaced, because its own clean-up gives back what was taken through them. False:
    // somebody else keeps it loaded, and it keeps calling our functions.
    bool unload() noexcept;
    // The same, whoever else keeps it loaded: when those who did are gone.
    bool unloadForAll() noexcept;

    // Null when the DLL has no such export.
    [[nodiscard]] void* exported(const char* name) const;
    // "module!function" of every import, or "module!#number", in table order.
    [[nodiscard]] std::vector<std::string> imports() const;
    // Paths of all other modules of the same file name that are loaded now.
    [[nodiscard]] std::vector<std::string> otherCopies() const;

private:
    struct Slot {
        std::string module;
        std::string function; // or "#number"
        void** address;
    };

    [[nodiscard]] std::vector<Slot> slots() const;

    std::filesystem::path m_Path;
    HMODULE m_Module; // null once it is unloaded
    std::set<std::string> m_Replaced;
};

} // namespace simulator
