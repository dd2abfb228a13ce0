// Runs threads one at a time in virtual time.
//
// The threads are real ones, so that thread-local state of the runtime stays right, but only the one that holds the
// token runs; the others are parked. The token moves at switching points only, to the thread that the policy names.
// Time stands still while anybody can run; when nobody can, it jumps to the next deadline. So a run depends on
// nothing but the script and the policy.
//
// A thread that waits for something real, e.g. for a mutex of the client that a parked thread holds, keeps the token:
// nothing moves any more. The run then ends the process, see setRealLimit().
//
// Everything but run() is called on the running thread. There is no lock to take: what one thread wrote before it
// passed the token on, the next one sees.
#pragma once

#include "policy.h"
#include "trace.h"

#include <windows.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

enum class ThreadKind {
    client,  // the run ends when all of these have returned; one that waits too long counts as hanging
    patient, // a client thread that may hang for ever, to show that something does
    plugin,  // started by the code under test
};

struct ThreadState {
    enum class Is { ready, waiting, finished };

    int number = 0;
    std::string name;
    ThreadKind kind = ThreadKind::plugin;
    Is is = Is::ready;
    bool timedOut = false;            // how the last wait ended
    Nanoseconds deadline = kNever;    // of the current wait
    Nanoseconds waitingSince = 0;     // begin of the current wait
    std::function<bool()> canBeTaken; // a wait for something that whoever comes first gets, e.g. a section
    std::uint64_t order = 0;          // since when it can run or waits, as a counter
    unsigned pointsWithoutWait = 0;
    unsigned triesInVain = 0; // of a section, one after the other
    int priority = 0;
    std::function<void()> body;
    std::optional<std::string> exception; // what an exception said that left the body
    HANDLE real = nullptr;
    CONDITION_VARIABLE parked = CONDITION_VARIABLE_INIT;
};

class Scheduler {
public:
    enum class Ended {
        complete,  // all client threads returned
        deadlock,  // nobody can run and nothing will ever wake anybody
        hang,      // a client thread waited longer than hangLimit in one wait
        exception, // an exception left the body of a thread
    };

    Scheduler();
    ~Scheduler();
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    // --- the run, on the controlling thread, which is not a scheduled one ---

    void setHangLimit(Nanoseconds limit) { m_HangLimit = limit; }
    // Real time in which no thread passes a switching point, after which the process ends with a message, as there is
    // no other way on. Not while a debugger is attached; INFINITE for never.
    void setRealLimit(DWORD milliseconds) { m_RealLimit = milliseconds; }
    // Runs `body` as the first client thread until the end. All other threads are then gone, too: those that still
    // waited are ended where they stand, without unwinding.
    Ended run(std::function<void()> body);
    [[nodiscard]] std::string describeThreads() const;
    [[nodiscard]] const Policy& policy() const { return *m_Policy; }

    // --- on a scheduled thread ---

    // Here the run proper begins: with this policy, an empty trace and choice 0.
    void start(std::unique_ptr<Policy> policy);

    // Null on any other thread: its calls are none of ours.
    [[nodiscard]] static ThreadState* current();
    // For what only a scheduled thread can do: ends the process with a message that names the call and the rule.
    [[noreturn]] static void refuseOtherThread(std::string_view call);

    // The new thread can run at once; it runs when it is chosen.
    ThreadState& spawn(std::string name, ThreadKind kind, std::function<void()> body);
    // Ends the calling thread for the others; it must leave by itself and touch nothing shared any more.
    void finishCurrent();
    // Called for every thread that finishes, also by an exception, before anybody else runs.
    void onFinish(std::function<void(ThreadState&)> told) { m_OnFinish = std::move(told); }

    // A switching point. A thread that passes very many of them without ever waiting loses a millisecond now and
    // then, as it would to the clock.
    void point(std::string_view what, std::string_view subject = {});
    // Waits until wake(), or until canBeTaken, or until the deadline. False: the deadline came first.
    bool wait(Nanoseconds deadline, std::function<bool()> canBeTaken = {});
    void wake(ThreadState& thread);
    // Lets everybody else who can run go first.
    void yield();
    // The calling thread does nothing for so long, exactly.
    void spend(Nanoseconds time);

    // --- time ---

    [[nodiscard]] Nanoseconds now() const { return m_Now; }
    // When a wait for so many milliseconds ends. Never early, as on the real system.
    [[nodiscard]] Nanoseconds deadlineIn(DWORD milliseconds) const;
    // Makes all waits with a time-out late: the function gets the exact deadline and answers the real one.
    void setLateness(std::function<Nanoseconds(Nanoseconds)> lateness) { m_Lateness = std::move(lateness); }
    // Something that happens in the world at a moment, before the threads that wake at that moment run. It must
    // neither wait nor call the code under test.
    void at(Nanoseconds time, std::function<void()> event) { m_Events.emplace(time, std::move(event)); }

    [[nodiscard]] std::uint64_t choices() const { return m_Choices; }
    // How many threads could have run at each choice, for enumerating schedules.
    [[nodiscard]] const std::vector<std::uint8_t>& candidatesPerChoice() const { return m_Candidates; }
    [[nodiscard]] std::vector<const ThreadState*> living(ThreadKind kind) const;
    // The largest number of threads of all kinds that lived at once since start().
    [[nodiscard]] std::size_t mostAtOnce() const { return m_MostAtOnce; }
    // Told before every choice, on the thread that comes to it; for invariants.
    void onStep(std::function<void()> told) { m_OnStep = std::move(told); }
    Trace& trace() { return m_Trace; }

private:
    static unsigned __stdcall threadMain(void* thread);

    void passToken(ThreadState& self);
    void park(ThreadState& self);
    void giveTo(ThreadState* next);
    ThreadState* pick(ThreadState* self);
    bool advanceTime();
    void end(Ended how);
    [[nodiscard]] bool clientsDone() const;
    [[nodiscard]] std::size_t countLiving() const;
    [[noreturn]] void giveUp() const;

    std::vector<std::unique_ptr<ThreadState>> m_Threads;
    std::multimap<Nanoseconds, std::function<void()>> m_Events;
    std::unique_ptr<Policy> m_Policy = runUntilBlocked();
    std::function<Nanoseconds(Nanoseconds)> m_Lateness;
    std::function<void(ThreadState&)> m_OnFinish;
    std::function<void()> m_OnStep;
    std::vector<std::uint8_t> m_Candidates;
    Trace m_Trace;
    Nanoseconds m_Now = 0;
    Nanoseconds m_HangLimit = 60 * kSecond;
    std::uint64_t m_Order = 0;
    std::uint64_t m_Choices = 0;
    std::size_t m_MostAtOnce = 0;
    DWORD m_RealLimit = 300'000;
    std::atomic<std::uint64_t> m_Points = 0; // of all threads; read by the controlling thread

    SRWLOCK m_TokenLock = SRWLOCK_INIT; // guards the five below
    ThreadState* m_Running = nullptr;
    bool m_Over = false;
    Ended m_Ended = Ended::complete;
    HANDLE m_Leaving = nullptr; // a thread that has finished, but may still be on its way out
    CONDITION_VARIABLE m_OverChanged = CONDITION_VARIABLE_INIT;
};

} // namespace simulator
