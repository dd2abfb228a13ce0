#include "kernel.h"

#include <algorithm>

namespace simulator {
namespace {

// Far above real handles, which are small numbers.
constexpr std::uintptr_t kFirstHandle = 0x7A000000;
constexpr std::uintptr_t kHandleEnd = 0x80000000;
constexpr std::uintptr_t kHandleStep = 16;

constexpr unsigned kTriesBeforeOthersRun = 2;

} // namespace

Kernel::Kernel(Scheduler& scheduler, Ledger& ledger, Findings& findings)
    : m_Scheduler(scheduler), m_Ledger(ledger), m_Findings(findings) {
    m_Scheduler.onFinish([this](ThreadState& thread) {
        for (const std::string& section : ownedBy(thread))
            m_Findings.add("thread " + thread.name + " ended while it owned " + section);
        if (thread.exception)
            m_Findings.add("an exception left thread " + thread.name + ": " + *thread.exception);
        if (const auto handle = m_ThreadHandles.find(&thread); handle != m_ThreadHandles.end())
            release(object(handle->second), handle->second);
    });
}

void Kernel::startNumbering() {
    m_SectionNumbers = 0;
    m_LockOrder.clear();
}

HANDLE Kernel::add(Object added) {
    added.number = static_cast<int>(m_Objects.size());
    m_Objects.push_back(added);
    const auto handle = reinterpret_cast<HANDLE>(kFirstHandle + kHandleStep * (m_Objects.size() - 1));
    m_Ledger.take(added.isThread ? Kind::threadHandle : Kind::event, reinterpret_cast<std::uintptr_t>(handle),
                  nameOf(handle));
    return handle;
}

HANDLE Kernel::createEvent(bool manualReset, bool signalled) {
    return add({.manualReset = manualReset, .signalled = signalled});
}

HANDLE Kernel::createThread(std::string name, std::function<void()> body) {
    const HANDLE handle = add({.isThread = true});
    m_ThreadHandles[&m_Scheduler.spawn(std::move(name), ThreadKind::plugin, std::move(body))] = handle;
    return handle;
}

bool Kernel::isSimulated(HANDLE handle) {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    return value >= kFirstHandle && value < kHandleEnd;
}

bool Kernel::owns(HANDLE handle) const {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    return value >= kFirstHandle && value < kFirstHandle + kHandleStep * m_Objects.size() && value % kHandleStep == 0;
}

// Of a handle that this owns.
Kernel::Object& Kernel::object(HANDLE handle) {
    return m_Objects[(reinterpret_cast<std::uintptr_t>(handle) - kFirstHandle) / kHandleStep];
}

const Kernel::Object& Kernel::object(HANDLE handle) const {
    return const_cast<Kernel*>(this)->object(handle);
}

std::string Kernel::nameOf(HANDLE handle) const {
    if (!handle)
        return "null";
    if (!owns(handle))
        return isSimulated(handle) ? "a handle that was never made" : "a real handle";
    const Object& named = object(handle);
    return (named.isThread ? "T" : "E") + std::to_string(named.number);
}

Kernel::Object* Kernel::usable(HANDLE handle, const char* use) {
    if (owns(handle) && object(handle).open)
        return &object(handle);
    if (owns(handle))
        m_Findings.add(std::string(use) + " of the closed handle " + nameOf(handle));
    else if (handle)
        m_Findings.add(std::string(use) + " of " + nameOf(handle));
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

// Makes the object signalled and lets go whom that satisfies, in the order in which they came. A later reset does
// not take that back: the real system, too, ends the waits at the moment of the signal.
void Kernel::release(Object& released, HANDLE handle) {
    released.signalled = true;
    for (Waiter* waiter : m_Waiters) {
        if (waiter->woken || waiter->thread->is != ThreadState::Is::waiting)
            continue;
        const auto at = std::ranges::find(waiter->handles, handle);
        if (at == waiter->handles.end())
            continue;
        waiter->woken = static_cast<DWORD>(at - waiter->handles.begin());
        m_Scheduler.wake(*waiter->thread);
        if (!released.isThread && !released.manualReset) {
            released.signalled = false;
            return;
        }
    }
}

bool Kernel::signal(HANDLE event) {
    Object* signalled = usable(event, "SetEvent");
    if (signalled)
        release(*signalled, event);
    return signalled != nullptr;
}

bool Kernel::reset(HANDLE event) {
    Object* reset = usable(event, "ResetEvent");
    if (reset)
        reset->signalled = false;
    return reset != nullptr;
}

bool Kernel::close(HANDLE handle) {
    Object* closed = usable(handle, "CloseHandle");
    if (!closed)
        return false;
    for (const Waiter* waiter : m_Waiters) {
        if (!waiter->woken && std::ranges::find(waiter->handles, handle) != waiter->handles.end())
            m_Findings.add("CloseHandle of " + nameOf(handle) + " while " + waiter->thread->name + " waits on it");
    }
    closed->open = false;
    m_Ledger.give(closed->isThread ? Kind::threadHandle : Kind::event, reinterpret_cast<std::uintptr_t>(handle));
    return true;
}

DWORD Kernel::waitForAny(std::span<const HANDLE> handles, DWORD milliseconds) {
    for (const HANDLE handle : handles) {
        if (!usable(handle, "wait"))
            return WAIT_FAILED;
    }
    for (std::size_t i = 0; i < handles.size(); ++i) {
        Object& awaited = object(handles[i]);
        if (!awaited.signalled)
            continue;
        if (!awaited.isThread && !awaited.manualReset)
            awaited.signalled = false;
        return WAIT_OBJECT_0 + static_cast<DWORD>(i);
    }
    if (milliseconds == 0)
        return WAIT_TIMEOUT;
    Waiter waiter{Scheduler::current(), handles, std::nullopt};
    m_Waiters.push_back(&waiter);
    m_Scheduler.wait(m_Scheduler.deadlineIn(milliseconds));
    std::erase(m_Waiters, &waiter);
    return waiter.woken ? WAIT_OBJECT_0 + *waiter.woken : WAIT_TIMEOUT;
}

void Kernel::initialize(CRITICAL_SECTION* section) {
    if (m_Sections.contains(section))
        m_Findings.add("InitializeCriticalSection of " + nameOf(section) + ", which is initialized");
    m_Removed.erase(section);
    AcquireSRWLockExclusive(&m_SectionsLock);
    m_Sections[section] = {.number = ++m_SectionNumbers};
    ReleaseSRWLockExclusive(&m_SectionsLock);
    m_Ledger.take(Kind::section, reinterpret_cast<std::uintptr_t>(section), nameOf(section));
}

bool Kernel::owns(const CRITICAL_SECTION* section) {
    if (m_Sections.contains(section))
        return true;
    if (const auto removed = m_Removed.find(section); removed != m_Removed.end())
        m_Findings.add("use of the deleted section S" + std::to_string(removed->second) + " by " +
                       Scheduler::current()->name);
    return m_Removed.contains(section);
}

bool Kernel::knows(const CRITICAL_SECTION* section) const {
    AcquireSRWLockShared(&m_SectionsLock);
    const bool known = m_Sections.contains(section);
    ReleaseSRWLockShared(&m_SectionsLock);
    return known;
}

std::string Kernel::nameOf(const CRITICAL_SECTION* section) const {
    const auto known = m_Sections.find(section);
    return known == m_Sections.end() ? "a section of its own" : "S" + std::to_string(known->second.number);
}

void Kernel::remove(CRITICAL_SECTION* section) {
    const auto known = m_Sections.find(section);
    if (known == m_Sections.end())
        return; // reported by owns()
    const Section& state = known->second;
    if (state.owner && m_AllowedOwnedAtRemoval > 0)
        --m_AllowedOwnedAtRemoval;
    else if (state.owner)
        m_Findings.add("DeleteCriticalSection of " + nameOf(section) + ", which " + state.owner->name + " owns");
    m_Removed[section] = state.number;
    AcquireSRWLockExclusive(&m_SectionsLock);
    m_Sections.erase(known);
    ReleaseSRWLockExclusive(&m_SectionsLock);
    m_Ledger.give(Kind::section, reinterpret_cast<std::uintptr_t>(section));
}

void Kernel::noteOrder(const Section& taken) {
    for (const auto& [section, state] : m_Sections) {
        if (state.owner == taken.owner && state.number != taken.number)
            m_LockOrder.emplace(state.number, taken.number);
    }
}

bool Kernel::tryEnter(CRITICAL_SECTION* section) {
    const auto known = m_Sections.find(section);
    if (known == m_Sections.end())
        return false;
    Section& state = known->second;
    ThreadState* self = Scheduler::current();
    if (state.owner && state.owner != self) {
        // Who tries again and again cannot keep the owner from leaving: that one runs on another processor, or the
        // system comes to its help.
        if (++self->triesInVain >= kTriesBeforeOthersRun)
            m_Scheduler.yield();
        return false;
    }
    self->triesInVain = 0;
    if (!state.owner) {
        state.owner = self;
        state.takenAs = ++m_Takes;
        noteOrder(state);
    }
    ++state.depth;
    return true;
}

void Kernel::enter(CRITICAL_SECTION* section) {
    while (!tryEnter(section)) {
        if (!m_Sections.contains(section))
            return; // deleted, reported by owns()
        m_Scheduler.wait(kNever, [this, section] {
            const auto state = m_Sections.find(section);
            return state == m_Sections.end() || !state->second.owner;
        });
        static_cast<void>(owns(section));
    }
}

void Kernel::leave(CRITICAL_SECTION* section) {
    const auto known = m_Sections.find(section);
    if (known == m_Sections.end())
        return;
    Section& state = known->second;
    if (state.owner != Scheduler::current()) {
        m_Findings.add("LeaveCriticalSection of " + nameOf(section) + " by " + Scheduler::current()->name +
                       ", which does not own it");
        return;
    }
    if (--state.depth == 0)
        state.owner = nullptr;
}

std::vector<std::string> Kernel::ownedBy(const ThreadState& thread) const {
    std::vector<const Section*> owned;
    for (const auto& [section, state] : m_Sections) {
        if (state.owner == &thread)
            owned.push_back(&state);
    }
    std::ranges::sort(owned, {}, [](const Section* section) { return section->takenAs; });
    std::vector<std::string> names;
    names.reserve(owned.size());
    for (const Section* section : owned)
        names.push_back("S" + std::to_string(section->number));
    return names;
}

const ThreadState* Kernel::ownerOf(int section) const {
    for (const auto& [address, state] : m_Sections) {
        if (state.number == section)
            return state.owner;
    }
    return nullptr;
}

std::optional<bool> Kernel::signalled(int event) const {
    const Object& known = m_Objects.at(static_cast<std::size_t>(event));
    return known.open ? std::optional(known.signalled) : std::nullopt;
}

} // namespace simulator
