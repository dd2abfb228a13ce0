// Simulated events, critical sections, thread handles and waits on top of the scheduler.
//
// Handles and sections that are not ours answer "not mine": the caller then passes the call to the real system.
// Every operation is called on the running thread after its switching point; it is atomic but for the waits.
#pragma once

#include "../faults/findings.h"
#include "../faults/ledger.h"
#include "scheduler.h"

#include <map>
#include <optional>
#include <set>
#include <span>

namespace simulator {

class Kernel {
public:
    Kernel(Scheduler& scheduler, Ledger& ledger, Findings& findings);

    // Numbers begin anew, as for the first section, and so do the notes about the order of locks.
    void startNumbering();

    // --- handles ---
    HANDLE createEvent(bool manualReset, bool signalled);
    HANDLE createThread(std::string name, std::function<void()> body);
    // One of ours by its value, whether or not we ever made it. May be asked on any thread.
    [[nodiscard]] static bool isSimulated(HANDLE handle);
    // False: not a handle that can be used so; reported when it has been closed before, or was never made.
    bool signal(HANDLE event);
    bool reset(HANDLE event);
    bool close(HANDLE handle);
    // WAIT_OBJECT_0 + index, WAIT_TIMEOUT or WAIT_FAILED.
    DWORD waitForAny(std::span<const HANDLE> handles, DWORD milliseconds);
    [[nodiscard]] std::string nameOf(HANDLE handle) const;

    // --- critical sections ---
    void initialize(CRITICAL_SECTION* section);
    [[nodiscard]] bool owns(const CRITICAL_SECTION* section);
    // Whether there is this section now. May be asked on any thread, and reports nothing.
    [[nodiscard]] bool knows(const CRITICAL_SECTION* section) const;
    void remove(CRITICAL_SECTION* section);
    void enter(CRITICAL_SECTION* section);
    bool tryEnter(CRITICAL_SECTION* section);
    void leave(CRITICAL_SECTION* section);
    [[nodiscard]] std::string nameOf(const CRITICAL_SECTION* section) const;
    // Names of the sections that a thread owns now, in the order in which it took them.
    [[nodiscard]] std::vector<std::string> ownedBy(const ThreadState& thread) const;

    // A deleted section that is still owned is reported, but for this many.
    void allowOwnedAtRemoval(unsigned count) { m_AllowedOwnedAtRemoval = count; }
    // Who owns this section; null also when there is no such section (any more).
    [[nodiscard]] const ThreadState* ownerOf(int section) const;
    // Of an event by its number; nothing when it is closed.
    [[nodiscard]] std::optional<bool> signalled(int event) const;
    // Pairs "A before B" of section numbers that one thread was seen to hold together.
    [[nodiscard]] const std::set<std::pair<int, int>>& lockOrder() const { return m_LockOrder; }

private:
    struct Object {
        int number = 0;
        bool isThread = false;
        bool manualReset = true;
        bool signalled = false;
        bool open = true;
    };
    struct Section {
        int number = 0;
        ThreadState* owner = nullptr;
        unsigned depth = 0;
        std::uint64_t takenAs = 0;
    };
    struct Waiter {
        ThreadState* thread;
        std::span<const HANDLE> handles;
        std::optional<DWORD> woken;
    };

    [[nodiscard]] bool owns(HANDLE handle) const;
    Object& object(HANDLE handle);
    [[nodiscard]] const Object& object(HANDLE handle) const;
    Object* usable(HANDLE handle, const char* use);
    HANDLE add(Object added);
    void release(Object& released, HANDLE handle);
    void noteOrder(const Section& taken);

    Scheduler& m_Scheduler;
    Ledger& m_Ledger;
    Findings& m_Findings;
    std::vector<Object> m_Objects; // never shrinks: a handle value is used once, so that a stale one is known
    std::map<const ThreadState*, HANDLE> m_ThreadHandles;
    std::vector<Waiter*> m_Waiters;                // in the order of their waits
    mutable SRWLOCK m_SectionsLock = SRWLOCK_INIT; // held over changes of the map below, and by knows()
    std::map<const CRITICAL_SECTION*, Section> m_Sections;
    std::map<const CRITICAL_SECTION*, int> m_Removed;
    std::set<std::pair<int, int>> m_LockOrder;
    int m_SectionNumbers = 0;
    std::uint64_t m_Takes = 0;
    unsigned m_AllowedOwnedAtRemoval = 0;
};

} // namespace simulator
