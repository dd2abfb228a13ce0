#include "script.h"

namespace simulator {
namespace {

constexpr unsigned kKeptPerName = 1000;

} // namespace

Verdict Script::next(std::string_view name, std::string_view subject) {
    const auto counted = m_Counts.find(name);
    if (counted == m_Counts.end())
        m_Counts.emplace(name, 1);
    else
        ++counted->second;
    Verdict verdict;
    for (Rule& rule : m_Rules) {
        if (rule.m_Name != name || (rule.m_Subject && *rule.m_Subject != subject))
            continue;
        ++rule.m_Seen;
        if (rule.m_Seen < rule.m_First || rule.m_Seen > rule.m_Last)
            continue;
        ++rule.m_Hits;
        verdict.time += rule.m_Time;
        if (rule.m_Action)
            verdict.actions.push_back(rule.m_Action);
        if (rule.m_Fails) {
            verdict.fails = true;
            verdict.result = rule.m_Result;
            verdict.error = rule.m_Error;
        }
    }
    return verdict;
}

void Script::record(CallRecord call) {
    if (m_Kept[call.name]++ < kKeptPerName)
        m_Calls.push_back(std::move(call));
}

std::vector<CallRecord> Script::calls(std::string_view name) const {
    std::vector<CallRecord> found;
    for (const CallRecord& call : m_Calls) {
        if (call.name == name)
            found.push_back(call);
    }
    return found;
}

std::vector<CallRecord> Script::callsBeginning(std::string_view prefix) const {
    std::vector<CallRecord> found;
    for (const CallRecord& call : m_Calls) {
        if (call.name.starts_with(prefix))
            found.push_back(call);
    }
    return found;
}

unsigned Script::count(std::string_view name) const {
    const auto counted = m_Counts.find(name);
    return counted == m_Counts.end() ? 0 : counted->second;
}

} // namespace simulator
