#include "scheduler.h"

#include <process.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace simulator {
namespace {

thread_local ThreadState* t_Current = nullptr;
Scheduler* g_Scheduler = nullptr; // one run per process at a time

constexpr unsigned kPointsPerMillisecond = 500; // about what the calls behind them would take

} // namespace

Scheduler::Scheduler() {
    g_Scheduler = this;
}

Scheduler::~Scheduler() {
    g_Scheduler = nullptr;
}

ThreadState* Scheduler::current() {
    return t_Current;
}

Scheduler::Ended Scheduler::run(std::function<void()> body) {
    ThreadState& first = spawn("client", ThreadKind::client, std::move(body));
    AcquireSRWLockExclusive(&m_TokenLock);
    giveTo(&first);
    while (!m_Over) {
        const std::uint64_t points = m_Points;
        const bool inTime = SleepConditionVariableSRW(&m_OverChanged, &m_TokenLock, m_RealLimit, 0) != FALSE;
        if (!inTime && points == m_Points && !m_Over && !IsDebuggerPresent())
            giveUp();
    }
    for (const auto& thread : m_Threads)
        WakeConditionVariable(&thread->parked);
    ReleaseSRWLockExclusive(&m_TokenLock);
    for (const auto& thread : m_Threads) {
        WaitForSingleObject(thread->real, INFINITE);
        CloseHandle(thread->real);
    }
    return m_Ended;
}

// Under the token lock; the running thread has stopped, or is somewhere where it writes nothing of ours.
void Scheduler::giveUp() const {
    std::fprintf(stderr,
                 "%sschedule: %s\nthreads:\n%s"
                 "%s has passed no switching point for %lu real milliseconds. Either it computes without end, or it "
                 "waits for\nsomething real: a mutex of the client that a thread holds over an export, a thread or a "
                 "file. See the rules in the manual.\n",
                 m_Trace.text().c_str(), m_Policy->describe().c_str(), describeThreads().c_str(),
                 m_Running ? m_Running->name.c_str() : "nobody", m_RealLimit);
    std::abort();
}

void Scheduler::refuseOtherThread(std::string_view call) {
    std::fprintf(stderr,
                 "a thread that the simulation did not start calls %.*s. The exports, and everything of the "
                 "simulation, are\ncalled inside Simulation::run, on its own thread and on those of "
                 "Simulation::thread.\n",
                 static_cast<int>(call.size()), call.data());
    std::abort();
}

ThreadState& Scheduler::spawn(std::string name, ThreadKind kind, std::function<void()> body) {
    auto& thread = *m_Threads.emplace_back(std::make_unique<ThreadState>());
    thread.number = static_cast<int>(m_Threads.size()) - 1;
    thread.name = std::move(name);
    thread.kind = kind;
    thread.order = ++m_Order;
    thread.body = std::move(body);
    thread.real = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &threadMain, &thread, 0, nullptr));
    if (!thread.real) {
        std::fputs("the simulator cannot start a thread\n", stderr);
        std::abort();
    }
    m_MostAtOnce = std::max(m_MostAtOnce, countLiving());
    return thread;
}

unsigned __stdcall Scheduler::threadMain(void* thread) {
    auto& self = *static_cast<ThreadState*>(thread);
    t_Current = &self;
    g_Scheduler->park(self);
    try {
        self.body();
    } catch (const std::exception& exception) {
        self.exception = exception.what();
    } catch (...) {
        self.exception = "something that is no std::exception";
    }
    g_Scheduler->finishCurrent();
    return 0;
}

// Waits for the token; does not return when the run is over.
void Scheduler::park(ThreadState& self) {
    AcquireSRWLockExclusive(&m_TokenLock);
    while (m_Running != &self && !m_Over)
        SleepConditionVariableSRW(&self.parked, &m_TokenLock, INFINITE, 0);
    const bool over = m_Running != &self;
    const HANDLE leaving = m_Leaving;
    if (!over)
        m_Leaving = nullptr;
    ReleaseSRWLockExclusive(&m_TokenLock);
    if (over) {
        t_Current = nullptr;
        ExitThread(0); // the frames of the code under test are not unwound: it still waits, for ever
    }
    if (leaving)
        WaitForSingleObject(leaving, INFINITE); // its way out runs code of the DLL, too
}

// Under the token lock.
void Scheduler::giveTo(ThreadState* next) {
    m_Running = next;
    if (next)
        WakeConditionVariable(&next->parked);
}

void Scheduler::end(Ended how) {
    AcquireSRWLockExclusive(&m_TokenLock);
    m_Ended = how;
    m_Over = true;
    m_Running = nullptr;
    WakeConditionVariable(&m_OverChanged);
    ReleaseSRWLockExclusive(&m_TokenLock);
}

void Scheduler::passToken(ThreadState& self) {
    ++m_Points;
    ThreadState* next = pick(&self);
    if (next == &self)
        return;
    if (next) {
        AcquireSRWLockExclusive(&m_TokenLock);
        giveTo(next);
        ReleaseSRWLockExclusive(&m_TokenLock);
    }
    park(self);
}

void Scheduler::finishCurrent() {
    ThreadState& self = *t_Current;
    ++m_Points;
    m_Trace.add(m_Now, self.name, self.exception ? "ends by an exception" : "ends");
    self.is = ThreadState::Is::finished;
    if (m_OnFinish)
        m_OnFinish(self);
    if (self.exception || clientsDone()) {
        t_Current = nullptr;
        end(self.exception ? Ended::exception : Ended::complete);
        return;
    }
    ThreadState* next = pick(nullptr);
    t_Current = nullptr;
    AcquireSRWLockExclusive(&m_TokenLock);
    m_Leaving = self.real;
    if (next)
        giveTo(next);
    ReleaseSRWLockExclusive(&m_TokenLock);
}

bool Scheduler::clientsDone() const {
    return std::ranges::all_of(m_Threads, [](const auto& thread) {
        return thread->kind != ThreadKind::client || thread->is == ThreadState::Is::finished;
    });
}

std::size_t Scheduler::countLiving() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(m_Threads, [](const auto& thread) { return thread->is != ThreadState::Is::finished; }));
}

void Scheduler::start(std::unique_ptr<Policy> policy) {
    m_Policy = std::move(policy);
    m_Trace.start();
    m_Candidates.clear();
    m_Choices = 0;
    m_MostAtOnce = countLiving();
}

void Scheduler::point(std::string_view what, std::string_view subject) {
    if (!t_Current)
        refuseOtherThread(what);
    ThreadState& self = *t_Current;
    m_Trace.add(m_Now, self.name, what, subject);
    if (++self.pointsWithoutWait >= kPointsPerMillisecond)
        spend(kMillisecond);
    else
        passToken(self);
}

bool Scheduler::wait(Nanoseconds deadline, std::function<bool()> canBeTaken) {
    if (!t_Current)
        refuseOtherThread("a wait");
    ThreadState& self = *t_Current;
    self.pointsWithoutWait = 0;
    self.is = ThreadState::Is::waiting;
    self.timedOut = false;
    self.deadline = deadline;
    self.waitingSince = m_Now;
    self.canBeTaken = std::move(canBeTaken);
    self.order = ++m_Order;
    passToken(self);
    self.canBeTaken = nullptr;
    return !self.timedOut;
}

void Scheduler::wake(ThreadState& thread) {
    thread.is = ThreadState::Is::ready;
    thread.deadline = kNever;
    thread.order = ++m_Order;
}

void Scheduler::yield() {
    // Who only ever yields does not wait: the clock must come to its turn.
    const unsigned points = t_Current->pointsWithoutWait;
    wait(kNever, [] { return true; });
    t_Current->pointsWithoutWait = points;
}

void Scheduler::spend(Nanoseconds time) {
    if (time > 0)
        wait(m_Now + time);
}

Nanoseconds Scheduler::deadlineIn(DWORD milliseconds) const {
    if (milliseconds == INFINITE)
        return kNever;
    const Nanoseconds exact = m_Now + milliseconds * kMillisecond;
    return m_Lateness ? std::max(exact, m_Lateness(exact)) : exact;
}

// The next thread to run, after moving time on if needed. Null: the run is over.
ThreadState* Scheduler::pick(ThreadState* self) {
    if (m_OnStep)
        m_OnStep();
    for (;;) {
        std::vector<ThreadState*> candidates;
        for (const auto& thread : m_Threads) {
            if (thread->is == ThreadState::Is::ready ||
                (thread->is == ThreadState::Is::waiting && thread->canBeTaken && thread->canBeTaken()))
                candidates.push_back(thread.get());
        }
        if (!candidates.empty()) {
            const bool goOn = self && self->is == ThreadState::Is::ready;
            std::ranges::sort(candidates, {}, [&](ThreadState* t) { return goOn && t == self ? 0 : t->order; });
            std::size_t chosen = 0;
            if (candidates.size() > 1) {
                m_Candidates.push_back(static_cast<std::uint8_t>(candidates.size()));
                chosen = m_Policy->choose(m_Choices++, candidates.size(), goOn);
            }
            candidates[chosen]->is = ThreadState::Is::ready;
            candidates[chosen]->deadline = kNever;
            return candidates[chosen];
        }
        if (!advanceTime())
            return nullptr;
    }
}

bool Scheduler::advanceTime() {
    Nanoseconds next = m_Events.empty() ? kNever : m_Events.begin()->first;
    for (const auto& thread : m_Threads) {
        if (thread->is == ThreadState::Is::waiting)
            next = std::min(next, thread->deadline);
    }
    if (next == kNever) {
        end(Ended::deadlock);
        return false;
    }
    m_Now = std::max(m_Now, next);
    while (!m_Events.empty() && m_Events.begin()->first <= m_Now) {
        const auto event = std::move(m_Events.begin()->second);
        m_Events.erase(m_Events.begin());
        event();
    }
    for (const auto& thread : m_Threads) {
        if (thread->is != ThreadState::Is::waiting)
            continue;
        if (thread->deadline <= m_Now) {
            wake(*thread);
            thread->timedOut = true;
        } else if (thread->kind == ThreadKind::client && thread->deadline == kNever &&
                   m_Now - thread->waitingSince > m_HangLimit) {
            end(Ended::hang);
            return false;
        }
    }
    return true;
}

std::vector<const ThreadState*> Scheduler::living(ThreadKind kind) const {
    std::vector<const ThreadState*> found;
    for (const auto& thread : m_Threads) {
        if (thread->kind == kind && thread->is != ThreadState::Is::finished)
            found.push_back(thread.get());
    }
    return found;
}

std::string Scheduler::describeThreads() const {
    std::string text;
    for (const auto& thread : m_Threads) {
        if (thread->is == ThreadState::Is::finished)
            continue;
        text += "  " + thread->name;
        switch (thread->is) {
        case ThreadState::Is::ready:
            text += thread.get() == m_Running ? ": runs\n" : ": can run\n";
            break;
        case ThreadState::Is::waiting:
            text += thread->deadline == kNever ? ": waits for ever" : ": waits with a time-out";
            text += " since " + std::to_string(thread->waitingSince / kMillisecond) + " ms\n";
            break;
        case ThreadState::Is::finished:
            break;
        }
    }
    return text;
}

} // namespace simulator
