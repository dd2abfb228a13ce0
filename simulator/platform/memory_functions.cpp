// The runtime's heap. Not a switching point: an allocation is no business between threads.
#include "world.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace simulator {
namespace {

void* __cdecl allocate(std::size_t bytes) {
    World* w = scheduledWorld();
    if (!w)
        return std::malloc(bytes);
    return w->briefCall("malloc").fails ? nullptr : w->heap.allocate(bytes);
}

void* __cdecl allocateZeroed(std::size_t count, std::size_t bytes) {
    World* w = scheduledWorld();
    if (!w)
        return std::calloc(count, bytes);
    return w->briefCall("calloc").fails ? nullptr : w->heap.allocateZeroed(count, bytes);
}

// Blocks outlive the thread that allocated them, so whose a block is decides, not who calls.
void* __cdecl resize(void* block, std::size_t bytes) {
    if (const std::size_t readable = GuardHeap::readableOfKept(block); readable > 0) {
        void* copy = std::malloc(bytes);
        return copy ? std::memcpy(copy, block, std::min(bytes, readable)) : nullptr;
    }
    World* w = world();
    if (!w || (block ? !w->heap.owns(block) : !Scheduler::current()))
        return std::realloc(block, bytes);
    return Scheduler::current() && w->briefCall("realloc").fails ? nullptr : w->heap.resize(block, bytes);
}

void __cdecl release(void* block) {
    if (World* w = world(); !block || (w && w->heap.release(block)))
        return;
    if (GuardHeap::readableOfKept(block) == 0)
        std::free(block);
}

} // namespace

std::vector<Replacement> memoryFunctions() {
    return {
        replacement("malloc", &allocate),
        replacement("calloc", &allocateZeroed),
        replacement("realloc", &resize),
        replacement("free", &release),
    };
}

} // namespace simulator
