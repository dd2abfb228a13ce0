// The runtime's heap. Not a switching point: an allocation is no business between threads.
#include "world.h"

#include <cstdlib>

namespace simulator {
namespace {

bool refused(World& w, const char* name) {
    const bool fails = w.script.next(name, "").fails;
    if (fails)
        w.scheduler.trace().add(w.scheduler.now(), Scheduler::current()->name, "  made to fail:", name);
    return fails;
}

void* __cdecl allocate(std::size_t bytes) {
    World* w = scheduledWorld();
    if (!w)
        return std::malloc(bytes);
    return refused(*w, "malloc") ? nullptr : w->heap.allocate(bytes);
}

void* __cdecl allocateZeroed(std::size_t count, std::size_t bytes) {
    World* w = scheduledWorld();
    if (!w)
        return std::calloc(count, bytes);
    return refused(*w, "calloc") ? nullptr : w->heap.allocateZeroed(count, bytes);
}

// Blocks outlive the thread that allocated them, so whose a block is decides, not who calls.
void* __cdecl resize(void* block, std::size_t bytes) {
    World* w = world();
    if (!w || (block ? !w->heap.owns(block) : !Scheduler::current()))
        return std::realloc(block, bytes);
    return Scheduler::current() && refused(*w, "realloc") ? nullptr : w->heap.resize(block, bytes);
}

void __cdecl release(void* block) {
    if (World* w = world(); !block || (w && w->heap.release(block)))
        return;
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
