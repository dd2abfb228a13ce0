#include "import_table.h"

#include <stdexcept>
#include <tuple>

namespace simulator {
namespace {

template <class T>
T* at(HMODULE module, DWORD offset) {
    // The image's own offsets are aligned for what they point at.
    return static_cast<T*>(static_cast<void*>(reinterpret_cast<BYTE*>(module) + offset));
}

bool write(void** slot, void* value) noexcept {
    DWORD protection = 0;
    if (!VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection))
        return false;
    *slot = value;
    VirtualProtect(slot, sizeof(*slot), protection, &protection);
    return true;
}

} // namespace

ImportTable::ImportTable(const std::filesystem::path& dll) : m_Module(LoadLibraryW(dll.c_str())) {
    if (!m_Module)
        throw std::runtime_error("cannot load " + dll.string() + ", error " + std::to_string(GetLastError()));
}

ImportTable::~ImportTable() {
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(m_Module, path, MAX_PATH);
    FreeLibrary(m_Module);
    if (length > 0 && length < MAX_PATH && GetModuleHandleW(path) == m_Module)
        restore();
}

std::vector<ImportTable::Slot> ImportTable::slots() const {
    std::vector<Slot> found;
    const auto* dos = at<IMAGE_DOS_HEADER>(m_Module, 0);
    const auto* headers = at<IMAGE_NT_HEADERS>(m_Module, static_cast<DWORD>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (directory.VirtualAddress == 0)
        return found;
    for (auto* module = at<IMAGE_IMPORT_DESCRIPTOR>(m_Module, directory.VirtualAddress); module->Name != 0;
         ++module) {
        const auto* name = at<IMAGE_THUNK_DATA>(m_Module, module->OriginalFirstThunk);
        auto* slot = at<void*>(m_Module, module->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
                continue;
            const auto* entry = at<IMAGE_IMPORT_BY_NAME>(m_Module, static_cast<DWORD>(name->u1.AddressOfData));
            found.push_back({at<char>(m_Module, module->Name), static_cast<const char*>(&entry->Name[0]), slot});
        }
    }
    return found;
}

void ImportTable::replace(std::span<const Replacement> replacements) {
    for (const Slot& slot : slots()) {
        for (const Replacement& replacement : replacements) {
            if (slot.function != replacement.function)
                continue;
            m_Originals.try_emplace(slot.address, *slot.address);
            if (!write(slot.address, replacement.with))
                throw std::runtime_error("import slot cannot be made writable");
        }
    }
}

void ImportTable::restore() noexcept {
    for (const auto& [slot, original] : m_Originals)
        std::ignore = write(slot, original); // was written before, so it can be written
    m_Originals.clear();
}

void* ImportTable::exported(const char* name) const {
    return reinterpret_cast<void*>(GetProcAddress(m_Module, name));
}

std::vector<std::string> ImportTable::imports() const {
    std::vector<std::string> names;
    for (const Slot& slot : slots())
        names.push_back(slot.module + "!" + slot.function);
    return names;
}

} // namespace simulator
