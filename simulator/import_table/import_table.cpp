#include "import_table.h"

#include <windows.h>

#include <iterator>
#include <stdexcept>

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

// More than a load of the DLL takes, so that the process can still do something else.
bool slotsAreLeft() noexcept {
    DWORD slots[8];
    std::size_t taken = 0;
    while (taken < std::size(slots) && (slots[taken] = TlsAlloc()) != TLS_OUT_OF_INDEXES)
        ++taken;
    for (std::size_t i = 0; i < taken; ++i)
        TlsFree(slots[i]);
    return taken == std::size(slots);
}

HMODULE loadAlone(const std::filesystem::path& dll) {
    const std::string name = dll.filename().string();
    if (GetModuleHandleW(dll.filename().c_str()))
        throw std::runtime_error(name +
                                 " is loaded already; whoever did so must let go of it before a simulation begins");
    if (!slotsAreLeft())
        throw std::runtime_error(
            "the process has no slots for thread-local data left: the runtime inside " + name +
            " keeps one each time it is loaded, so begin a new process before about a thousand simulations");
    const HMODULE module = LoadLibraryW(dll.c_str());
    if (!module)
        throw std::runtime_error("cannot load " + dll.string() + ", error " + std::to_string(GetLastError()));
    return module;
}

} // namespace

ImportTable::ImportTable(const std::filesystem::path& dll) : m_Path(dll), m_Module(loadAlone(dll)) {}

bool ImportTable::unload() noexcept {
    if (!m_Module)
        return true;
    FreeLibrary(m_Module);
    // Only compared: the module may be gone.
    const bool gone = GetModuleHandleW(m_Path.filename().c_str()) != m_Module;
    m_Module = nullptr;
    return gone;
}

bool ImportTable::unloadForAll() noexcept {
    constexpr int kHolders = 1000;
    const HMODULE module = m_Module;
    bool gone = unload();
    for (int i = 0; !gone && i < kHolders; ++i) {
        FreeLibrary(module);
        gone = GetModuleHandleW(m_Path.filename().c_str()) != module;
    }
    return gone;
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
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
                found.push_back(
                    {at<char>(m_Module, module->Name), "#" + std::to_string(IMAGE_ORDINAL(name->u1.Ordinal)), slot});
                continue;
            }
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
            if (!write(slot.address, replacement.with))
                throw std::runtime_error("import slot cannot be made writable");
            m_Replaced.insert(slot.function);
        }
    }
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

// Walks the address space: a snapshot of the process would list its modules, too, but takes as long as all else that
// a short simulation does.
std::vector<std::string> ImportTable::otherCopies() const {
    std::vector<std::string> paths;
    MEMORY_BASIC_INFORMATION region{};
    for (const BYTE* next = nullptr; VirtualQuery(next, &region, sizeof(region)) != 0;
         next = static_cast<const BYTE*>(region.BaseAddress) + region.RegionSize) {
        const auto module = static_cast<HMODULE>(region.AllocationBase);
        if (region.Type != MEM_IMAGE || region.BaseAddress != region.AllocationBase || module == m_Module)
            continue;
        wchar_t name[MAX_PATH];
        if (GetModuleFileNameW(module, name, MAX_PATH) == 0)
            continue; // mapped, but no module
        const std::filesystem::path path(name);
        if (lstrcmpiW(path.filename().c_str(), m_Path.filename().c_str()) == 0)
            paths.push_back(path.string());
    }
    return paths;
}

} // namespace simulator
