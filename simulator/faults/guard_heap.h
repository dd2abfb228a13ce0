// The heap behind the DLL's malloc.
//
// Guarded: every block has pages of its own, ends at an inaccessible page, and stays inaccessible for ever after it
// was freed. So an overrun (beyond the 16 bytes of alignment, which are checked at the free), a use after free and a
// double free are found at the instruction: the finding names block and thread, the page is opened, and the program
// goes on. Plain: the real malloc with a book; for runs of many millions of blocks.
//
// Writes before the begin of a block are found when it is freed. The guarded heap uses an address once, so it ends: two
// pages per small block, two million in 16 GiB. That is reported, and the blocks after it are plain ones.
//
// Thread-safe, because threads that end beside the running one free what they had.
#pragma once

#include "findings.h"

#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace simulator {

class GuardHeap {
public:
    enum class Mode { guarded, plain };

    static constexpr std::uintptr_t kArenaBytes = 16ull << 30; // address space only

    // `where` describes the calling thread and time for reports.
    GuardHeap(Findings& findings, std::function<std::string()> where, std::uintptr_t arenaBytes = kArenaBytes);
    // Leaves plain blocks that nobody freed to the system; guarded ones are gone, but for keepArena().
    ~GuardHeap();
    GuardHeap(const GuardHeap&) = delete;
    GuardHeap& operator=(const GuardHeap&) = delete;

    void setMode(Mode mode) { m_Mode = m_Arena == 0 ? Mode::plain : mode; }

    // Null when there is no memory, or when count times bytes is beyond all numbers.
    void* allocate(std::size_t bytes);
    void* allocateZeroed(std::size_t count, std::size_t bytes);
    void* resize(void* block, std::size_t bytes);
    // False: not a block of this heap, it belongs to the real free.
    bool release(void* block);
    [[nodiscard]] bool owns(const void* block) const;

    // Blocks that live now do not count as such any more.
    void startBook();
    [[nodiscard]] std::size_t liveBlocks() const;
    // In the order of their allocation.
    [[nodiscard]] std::vector<std::string> describeLive() const;

    // --- for a DLL that stays loaded when its simulation is over ---
    // What is allocated stays where it is, beyond the life of this object.
    void keepArena() { m_ArenaIsKept = true; }
    // How much can be read from there on of a block of such an arena; 0 for any other address. Nobody can free it.
    static std::size_t readableOfKept(const void* block);

private:
    struct Block {
        std::size_t serial;
        std::size_t bytes;
        std::uintptr_t pages; // begin of the block's pages, 0 for a plain one
        bool live;
        std::string allocated;
        std::string freed;
    };

    static LONG CALLBACK onException(EXCEPTION_POINTERS* exception);
    bool explain(std::uintptr_t address, std::uintptr_t instruction, bool write);
    [[nodiscard]] std::string describeAccess(std::uintptr_t address, bool write) const;
    void* allocateGuarded(std::size_t bytes);
    void noteRelease(const Block& block);
    void* allocatePlain(std::size_t bytes);
    void releaseGuarded(std::uintptr_t address, Block& block);

    Findings& m_Findings;
    std::function<std::string()> m_Where;
    mutable CRITICAL_SECTION m_Lock;
    Mode m_Mode = Mode::guarded;
    std::map<std::uintptr_t, Block> m_Blocks; // by address; freed guarded blocks stay
    std::size_t m_Serial = 0;
    std::size_t m_Live = 0;
    std::size_t m_BookFrom = 0; // the last serial that does not count
    std::size_t m_Explained = 0;
    std::uintptr_t m_ArenaBytes;
    std::uintptr_t m_Arena = 0;
    std::uintptr_t m_Next = 0;
    bool m_ArenaIsKept = false;
    void* m_Handler = nullptr;
};

} // namespace simulator
