#include "guard_heap.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <sstream>

namespace simulator {
namespace {

constexpr std::uintptr_t kPage = 4096;
constexpr std::uintptr_t kAlignment = 16;
constexpr unsigned char kSlack = 0xFD;    // between the end of the block and the end of its page
constexpr unsigned char kFresh = 0xCD;    // what malloc hands out
constexpr std::size_t kMaxExplained = 20; // of bad accesses: a loop through freed memory would have thousands

GuardHeap* g_Heap = nullptr; // for the exception handler

// An arena that outlives its heap. Only ever added to the front of the list, so that anybody can read it.
struct KeptArena {
    std::uintptr_t begin;
    std::uintptr_t end;
    const KeptArena* next;
};
std::atomic<const KeptArena*> g_KeptArenas = nullptr;

class Guard {
public:
    explicit Guard(CRITICAL_SECTION& lock) : m_Lock(lock) { EnterCriticalSection(&m_Lock); }
    ~Guard() { LeaveCriticalSection(&m_Lock); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    CRITICAL_SECTION& m_Lock;
};

void* pointer(std::uintptr_t address) {
    return reinterpret_cast<void*>(address);
}

std::uintptr_t roundUp(std::uintptr_t value, std::uintptr_t unit) {
    return (value + unit - 1) / unit * unit;
}

// "module.dll+0x1234": unlike the address, the same in every process.
std::string describeInstruction(std::uintptr_t instruction) {
    HMODULE module = nullptr;
    wchar_t path[MAX_PATH] = {};
    std::ostringstream text;
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           static_cast<const wchar_t*>(pointer(instruction)), &module) &&
        GetModuleFileNameW(module, path, MAX_PATH) > 0) {
        text << std::filesystem::path(path).filename().string() << "+0x" << std::hex
             << instruction - reinterpret_cast<std::uintptr_t>(module);
    } else {
        text << "no module";
    }
    return text.str();
}

} // namespace

GuardHeap::GuardHeap(Findings& findings, std::function<std::string()> where, std::uintptr_t arenaBytes)
    : m_Findings(findings), m_Where(std::move(where)), m_Lock(), m_ArenaBytes(arenaBytes) {
    InitializeCriticalSection(&m_Lock);
    m_Arena = reinterpret_cast<std::uintptr_t>(VirtualAlloc(nullptr, m_ArenaBytes, MEM_RESERVE, PAGE_NOACCESS));
    m_Next = m_Arena;
    if (m_Arena == 0)
        m_Mode = Mode::plain;
    g_Heap = this;
    m_Handler = AddVectoredExceptionHandler(1, &onException);
}

GuardHeap::~GuardHeap() {
    RemoveVectoredExceptionHandler(m_Handler);
    g_Heap = nullptr;
    if (m_Arena != 0 && m_ArenaIsKept) {
        if (const auto* kept = new (std::nothrow) KeptArena{m_Arena, m_Arena + m_ArenaBytes, g_KeptArenas})
            g_KeptArenas = kept;
    } else if (m_Arena != 0) {
        VirtualFree(pointer(m_Arena), 0, MEM_RELEASE);
    }
    DeleteCriticalSection(&m_Lock);
}

void* GuardHeap::allocateGuarded(std::size_t bytes) {
    const std::uintptr_t used = roundUp(bytes == 0 ? 1 : bytes, kAlignment);
    const std::uintptr_t pages = roundUp(used, kPage);
    if (pages + kPage > m_Arena + m_ArenaBytes - m_Next) {
        m_Findings.add("the simulator's own guarded heap is used up, and nothing more is watched: see plainHeap()");
        m_Mode = Mode::plain;
        return allocatePlain(bytes);
    }
    const std::uintptr_t begin = m_Next;
    if (!VirtualAlloc(pointer(begin), pages, MEM_COMMIT, PAGE_READWRITE))
        return nullptr;
    m_Next += pages + kPage;
    const std::uintptr_t address = begin + pages - used;
    std::memset(pointer(address), kFresh, bytes);
    std::memset(pointer(address + bytes), kSlack, used - bytes);
    m_Blocks[address] = {++m_Serial, bytes, begin, true, m_Where(), {}};
    ++m_Live;
    return pointer(address);
}

void* GuardHeap::allocate(std::size_t bytes) {
    const Guard guard(m_Lock);
    if (bytes > PTRDIFF_MAX)
        return nullptr;
    return m_Mode == Mode::guarded && bytes < m_ArenaBytes ? allocateGuarded(bytes) : allocatePlain(bytes);
}

void* GuardHeap::allocatePlain(std::size_t bytes) {
    void* block = std::malloc(bytes == 0 ? 1 : bytes);
    if (block) {
        m_Blocks[reinterpret_cast<std::uintptr_t>(block)] = {++m_Serial, bytes, 0, true, m_Where(), {}};
        ++m_Live;
    }
    return block;
}

void* GuardHeap::allocateZeroed(std::size_t count, std::size_t bytes) {
    if (bytes != 0 && count > SIZE_MAX / bytes)
        return nullptr;
    void* block = allocate(count * bytes);
    if (block)
        std::memset(block, 0, count * bytes);
    return block;
}

void* GuardHeap::resize(void* block, std::size_t bytes) {
    if (!block)
        return allocate(bytes);
    const Guard guard(m_Lock);
    const auto known = m_Blocks.find(reinterpret_cast<std::uintptr_t>(block));
    if (known == m_Blocks.end())
        return nullptr;
    const std::size_t old = known->second.bytes;
    void* grown = allocate(bytes);
    if (grown) {
        std::memcpy(grown, block, old < bytes ? old : bytes);
        release(block);
    }
    return grown;
}

bool GuardHeap::release(void* block) {
    const Guard guard(m_Lock);
    const auto known = m_Blocks.find(reinterpret_cast<std::uintptr_t>(block));
    if (known == m_Blocks.end()) {
        const bool inside = owns(block);
        if (inside)
            m_Findings.add("free of an address inside a block or beside it, " + m_Where());
        return inside;
    }
    if (known->second.pages == 0) {
        noteRelease(known->second);
        m_Blocks.erase(known);
        std::free(block);
    } else {
        releaseGuarded(known->first, known->second);
    }
    return true;
}

void GuardHeap::releaseGuarded(std::uintptr_t address, Block& block) {
    if (!block.live) {
        m_Findings.add("double free of heap block " + std::to_string(block.serial) + " " + m_Where() +
                       ", first freed " + block.freed);
        return;
    }
    const std::uintptr_t end = block.pages + roundUp(address + block.bytes - block.pages, kPage);
    const auto* lead = static_cast<const unsigned char*>(pointer(block.pages));
    if (std::any_of(lead, lead + (address - block.pages), [](unsigned char byte) { return byte != 0; }))
        m_Findings.add("heap block " + std::to_string(block.serial) + " of " + std::to_string(block.bytes) +
                       " bytes, allocated " + block.allocated + ", was written before its begin");
    const auto* slack = static_cast<const unsigned char*>(pointer(address + block.bytes));
    for (std::uintptr_t at = address + block.bytes; at < end; ++at, ++slack) {
        if (*slack != kSlack) {
            m_Findings.add("heap block " + std::to_string(block.serial) + " of " + std::to_string(block.bytes) +
                           " bytes, allocated " + block.allocated + ", was overrun");
            break;
        }
    }
    VirtualFree(pointer(block.pages), end - block.pages, MEM_DECOMMIT);
    block.live = false;
    block.freed = m_Where();
    noteRelease(block);
}

void GuardHeap::noteRelease(const Block& block) {
    if (block.serial > m_BookFrom)
        --m_Live;
}

void GuardHeap::startBook() {
    const Guard guard(m_Lock);
    m_BookFrom = m_Serial;
    m_Live = 0;
}

bool GuardHeap::owns(const void* block) const {
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    if (m_Arena != 0 && address >= m_Arena && address < m_Arena + m_ArenaBytes)
        return true;
    const Guard guard(m_Lock);
    return m_Blocks.contains(address);
}

std::size_t GuardHeap::liveBlocks() const {
    const Guard guard(m_Lock);
    return m_Live;
}

std::vector<std::string> GuardHeap::describeLive() const {
    const Guard guard(m_Lock);
    std::vector<const Block*> blocks;
    for (const auto& [address, block] : m_Blocks) {
        if (block.live && block.serial > m_BookFrom)
            blocks.push_back(&block);
    }
    std::ranges::sort(blocks, {}, &Block::serial);
    std::vector<std::string> lines;
    lines.reserve(blocks.size());
    for (const Block* block : blocks)
        lines.push_back("heap block " + std::to_string(block->serial) + " of " + std::to_string(block->bytes) +
                        " bytes, allocated " + block->allocated);
    return lines;
}

bool GuardHeap::explain(std::uintptr_t address, std::uintptr_t instruction, bool write) {
    if (m_Arena == 0 || address < m_Arena || address >= m_Arena + m_ArenaBytes)
        return false;
    // Before our lock: this takes the system's, under which threads that end free what they had.
    const std::string at = describeInstruction(instruction);
    const Guard guard(m_Lock);
    if (++m_Explained <= kMaxExplained)
        m_Findings.add(describeAccess(address, write) + " (" + at + ")");
    else if (m_Explained == kMaxExplained + 1)
        m_Findings.add("more bad accesses to heap memory, which are not listed");
    return VirtualAlloc(pointer(address / kPage * kPage), kPage, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

std::string GuardHeap::describeAccess(std::uintptr_t address, bool write) const {
    std::ostringstream text;
    text << (write ? "write to" : "read of") << " heap memory " << m_Where() << ": ";
    auto after = m_Blocks.upper_bound(address);
    if (after == m_Blocks.begin()) {
        text << "before all blocks";
    } else {
        const auto& [begin, block] = *--after;
        if (!block.live && address < begin + block.bytes)
            text << "use after free, " << address - begin << " bytes into block " << block.serial << " of "
                 << block.bytes << " bytes, allocated " << block.allocated << ", freed " << block.freed;
        else
            text << "beyond block " << block.serial << " of " << block.bytes << " bytes, allocated "
                 << block.allocated;
    }
    return text.str();
}

std::size_t GuardHeap::readableOfKept(const void* block) {
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    const KeptArena* arena = g_KeptArenas;
    while (arena && (address < arena->begin || address >= arena->end))
        arena = arena->next;
    MEMORY_BASIC_INFORMATION pages{};
    if (!arena || VirtualQuery(block, &pages, sizeof(pages)) == 0)
        return 0;
    return reinterpret_cast<std::uintptr_t>(pages.BaseAddress) + pages.RegionSize - address;
}

LONG CALLBACK GuardHeap::onException(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (!g_Heap || record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION || record.NumberParameters < 2)
        return EXCEPTION_CONTINUE_SEARCH;
    const bool explained =
        g_Heap->explain(record.ExceptionInformation[1], reinterpret_cast<std::uintptr_t>(record.ExceptionAddress),
                        record.ExceptionInformation[0] == 1);
    return explained ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
}

} // namespace simulator
