#include "ledger.h"

#include <algorithm>

namespace simulator {
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
    }
    return "thing";
}

void Ledger::start() {
    m_Open.clear();
}

void Ledger::take(Kind kind, std::uintptr_t key, std::string label) {
    auto [entry, isNew] = m_Open[kind].try_emplace(key, Entry{0, ++m_Taken, {}});
    ++entry->second.count;
    if (isNew)
        entry->second.label = std::move(label);
}

bool Ledger::give(Kind kind, std::uintptr_t key) {
    auto& open = m_Open[kind];
    const auto entry = open.find(key);
    if (entry == open.end())
        return false;
    if (--entry->second.count == 0)
        open.erase(entry);
    return true;
}

bool Ledger::holds(Kind kind, std::uintptr_t key) const {
    const auto open = m_Open.find(kind);
    return open != m_Open.end() && open->second.contains(key);
}

std::size_t Ledger::open(Kind kind) const {
    std::size_t count = 0;
    if (const auto things = m_Open.find(kind); things != m_Open.end()) {
        for (const auto& [key, entry] : things->second)
            count += entry.count;
    }
    return count;
}

std::vector<std::string> Ledger::describeOpen(Kind kind) const {
    std::vector<const Entry*> entries;
    if (const auto things = m_Open.find(kind); things != m_Open.end()) {
        for (const auto& [key, entry] : things->second)
            entries.push_back(&entry);
    }
    std::ranges::sort(entries, {}, &Entry::serial); // keys are addresses, which differ between two equal runs
    std::vector<std::string> lines;
    lines.reserve(entries.size());
    for (const Entry* entry : entries)
        lines.push_back(std::string(nameOf(kind)) + " " + entry->label +
                        (entry->count > 1 ? " (" + std::to_string(entry->count) + " times)" : ""));
    return lines;
}

} // namespace simulator
