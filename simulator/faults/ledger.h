// Everything that the code under test took from the platform and has not given back yet; its heap has a book of its
// own (GuardHeap). Used by the running thread, and by the controlling one when the run is over.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace simulator {

enum class Kind {
    event,
    threadHandle,
    section,
    interfacePointer,
    comInitialization, // one per thread and call
    timerPeriod,
    window,
    taskMemory,
    localMemory,
};

const char* nameOf(Kind kind);

class Ledger {
public:
    // Forgets what is open.
    void start();
    // `key` tells two things of a kind apart; taking the same key twice counts two.
    void take(Kind kind, std::uintptr_t key, std::string label);
    // False when there is no such thing to give back.
    bool give(Kind kind, std::uintptr_t key);

    [[nodiscard]] bool holds(Kind kind, std::uintptr_t key) const;
    [[nodiscard]] std::size_t open(Kind kind) const;
    // One line per open thing, in the order in which they were taken.
    [[nodiscard]] std::vector<std::string> describeOpen(Kind kind) const;

private:
    struct Entry {
        std::size_t count;
        std::uint64_t serial; // of all things taken
        std::string label;
    };
    std::map<Kind, std::map<std::uintptr_t, Entry>> m_Open;
    std::uint64_t m_Taken = 0;
};

} // namespace simulator
