// Loads a DLL and puts functions of ours into the slots of its import table.
//
// Only the DLL's own calls are redirected, also those of a runtime that is linked into it; the rest of the process
// keeps the real functions. A function that the DLL does not import is no error: it simply cannot be called.
#pragma once

#include <windows.h>

#include <filesystem>
#include <map>
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
    // Throws std::runtime_error when the DLL cannot be loaded.
    explicit ImportTable(const std::filesystem::path& dll);
    // Unloads the DLL. The slots stay replaced until its own clean-up has run, because that gives back what was
    // taken through them; they are restored when somebody else keeps the DLL loaded.
    ~ImportTable();
    ImportTable(const ImportTable&) = delete;
    ImportTable& operator=(const ImportTable&) = delete;

    void replace(std::span<const Replacement> replacements);

    // Null when the DLL has no such export.
    [[nodiscard]] void* exported(const char* name) const;
    // "module!function" of every import by name, in table order.
    [[nodiscard]] std::vector<std::string> imports() const;

private:
    void restore() noexcept;

    struct Slot {
        std::string module;
        std::string function;
        void** address;
    };

    [[nodiscard]] std::vector<Slot> slots() const;

    HMODULE m_Module;
    std::map<void**, void*> m_Originals;
};

} // namespace simulator
