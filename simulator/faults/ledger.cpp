#include "ledger.h"

namespace simulator {
namespace {

class Guard {
public:
    explicit Guard(CRITICAL_SECTION& lock) : m_Lock(lock) { EnterCriticalSection(&m_Lock); }
    ~Guard() { LeaveCriticalSection(&m_Lock); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    CRITICAL_SECTION& m_Lock;
};

} // namespace

const char* nameOf(Kind kind) {
    switch (kind) {
    case Kind::event:
        return "event";
    case Kind::threadHandle:
        return "thread handle";
    case Kind::section:
        return "critical section";
    case Kind::interfacePointer:
        return "interface";
    case Kind::comInitialization:
        return "COM initialization";
    case Kind::timerPeriod:
        return "timer period";
    case Kind::window:
        return "window";
    case Kind::taskMemory:
        return "task memory";
    case Kind::localMemory:
        return "local memory";
    case Kind::heap:
        return "heap block";
    }
    return "thing";
}

Ledger::Ledger() : m_Lock() {
    InitializeCriticalSection(&m_Lock);
}

Ledger::~Ledger() {
    DeleteCriticalSection(&m_Lock);
}

void Ledger::start() {
    const Guard guard(m_Lock);
    m_Open.clear();
    m_Taken.clear();
}

void Ledger::take(Kind kind, std::uintptr_t key, std::string label) {
    const Guard guard(m_Lock);
    ++m_Taken[kind];
    auto [entry, isNew] = m_Open[kind].try_emplace(key, Entry{0, {}});
    ++entry->second.count;
    if (isNew)
        entry->second.label = std::move(label);
}

bool Ledger::give(Kind kind, std::uintptr_t key) {
    const Guard guard(m_Lock);
    auto& open = m_Open[kind];
    const auto entry = open.find(key);
    if (entry == open.end())
        return false;
    if (--entry->second.count == 0)
        open.erase(entry);
    return true;
}

bool Ledger::holds(Kind kind, std::uintptr_t key) const {
    const Guard guard(m_Lock);
    const auto open = m_Open.find(kind);
    return open != m_Open.end() && open->second.contains(key);
}

std::size_t Ledger::open(Kind kind) const {
    const Guard guard(m_Lock);
    std::size_t count = 0;
    if (const auto things = m_Open.find(kind); things != m_Open.end()) {
        for (const auto& [key, entry] : things->second)
            count += entry.count;
    }
    return count;
}

std::size_t Ledger::takenEver(Kind kind) const {
    const Guard guard(m_Lock);
    const auto taken = m_Taken.find(kind);
    return taken == m_Taken.end() ? 0 : taken->second;
}

std::vector<std::string> Ledger::describeOpen(Kind kind) const {
    const Guard guard(m_Lock);
    std::vector<std::string> lines;
    if (const auto things = m_Open.find(kind); things != m_Open.end()) {
        for (const auto& [key, entry] : things->second)
            lines.push_back(std::string(nameOf(kind)) + " " + entry.label +
                            (entry.count > 1 ? " (" + std::to_string(entry.count) + " times)" : ""));
    }
    return lines;
}

} // namespace simulator
