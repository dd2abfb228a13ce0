#include "script.h"

#include <stdexcept>

namespace simulator {
namespace {

constexpr unsigned kKeptPerName = 1000;

} // namespace

// As it was written, and how near it came.
std::string Rule::describe() const {
    std::string text = "on(\"" + m_Name + "\")";
    if (m_Subject)
        text += ".of(\"" + *m_Subject + "\")";
    if (m_Last != UINT_MAX)
        text += ".onCall(" + std::to_string(m_First) + ")";
    else if (m_First > 1)
        text += ".fromCall(" + std::to_string(m_First) + ")";
    return text + ": " + std::to_string(m_Seen) + " calls came";
}

void Script::checkName(std::string_view name) const {
    if (!m_Names.empty() && !m_Names.contains(name))
        throw std::invalid_argument("the simulator knows no call " + std::string(name));
}

Rule& Script::on(std::string name) {
    checkName(name);
    return m_Rules.emplace_back(std::move(name));
}

std::vector<std::string> Script::unmet() const {
    std::vector<std::string> found;
    for (const std::list<Rule>* rules : {&m_Retired, &m_Rules}) {
        for (const Rule& rule : *rules) {
            if (rule.m_Hits == 0 && !rule.m_Maybe)
                found.push_back("a rule met no call, " + rule.describe());
        }
    }
    return found;
}

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
    checkName(name);
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
    checkName(name);
    const auto counted = m_Counts.find(name);
    return counted == m_Counts.end() ? 0 : counted->second;
}

} // namespace simulator
