// Everything that the code under test took from the platform and has not given back yet.
#pragma once

#include <windows.h>

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
    heap,
};

const char* nameOf(Kind kind);

class Ledger {
public:
    Ledger();
    ~Ledger();
    Ledger(const Ledger&) = delete;
    Ledger& operator=(const Ledger&) = delete;

    // Forgets what is open.
    void start();
    // `key` tells two things of a kind apart; taking the same key twice counts two.
    void take(Kind kind, std::uintptr_t key, std::string label);
    // False when there is no such thing to give back.
    bool give(Kind kind, std::uintptr_t key);

    [[nodiscard]] bool holds(Kind kind, std::uintptr_t key) const;
    [[nodiscard]] std::size_t open(Kind kind) const;
    [[nodiscard]] std::size_t takenEver(Kind kind) const;
    // One line per open thing.
    [[nodiscard]] std::vector<std::string> describeOpen(Kind kind) const;

private:
    struct Entry {
        std::size_t count;
        std::string label;
    };
    // Heap blocks come and go also on threads that end beside the running one, so the book has a lock.
    mutable CRITICAL_SECTION m_Lock;
    std::map<Kind, std::map<std::uintptr_t, Entry>> m_Open;
    std::map<Kind, std::size_t> m_Taken;
};

} // namespace simulator
