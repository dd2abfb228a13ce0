// What shall happen at chosen calls: failures, delays, events; and the record of what was called.
//
// A call has a name ("Secondary.Lock", "CreateEventW") and a subject, the device's label or "". The names are listed
// in the manual.
#pragma once

#include "../schedule/trace.h"

#include <windows.h>

#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

// One line of the script; chain the calls. Without onCall and fromCall it holds for every call from now on.
//
// A rule that no call has met by the end of the run is a problem of the run: most likely a word in it is wrong.
class Rule {
public:
    explicit Rule(std::string name) : m_Name(std::move(name)) {}

    // The n-th call from now on, counted from 1, of those that match name and subject.
    Rule& onCall(unsigned n) { return m_First = m_Last = n, *this; }
    Rule& fromCall(unsigned n) { return m_First = n, m_Last = UINT_MAX, *this; }
    Rule& of(std::string subject) { return m_Subject = std::move(subject), *this; }

    // That no call meets it is all right.
    Rule& maybe() { return m_Maybe = true, *this; }

    // The call does nothing and answers what it answers when it fails.
    Rule& fails() { return m_Fails = true, *this; }
    // As fails(), with this result: an HRESULT, a number, FALSE.
    Rule& fails(long long result) { return m_Result = result, fails(); }
    // As fails(), and GetLastError answers this.
    Rule& failsWithError(DWORD error) { return m_Error = error, fails(); }
    // The call takes virtual time before it does its work.
    Rule& takes(unsigned milliseconds) { return m_Time = milliseconds * kMillisecond, *this; }
    // Runs inside the call before its work.
    Rule& does(std::function<void()> action) { return m_Action = std::move(action), *this; }

    // How many calls it held for so far.
    [[nodiscard]] unsigned hits() const { return m_Hits; }

private:
    friend class Script;

    [[nodiscard]] std::string describe() const;

    std::string m_Name;
    std::optional<std::string> m_Subject;
    unsigned m_First = 1;
    unsigned m_Last = UINT_MAX;
    unsigned m_Seen = 0;
    unsigned m_Hits = 0;
    bool m_Maybe = false;
    bool m_Fails = false;
    std::optional<long long> m_Result;
    std::optional<DWORD> m_Error;
    Nanoseconds m_Time = 0;
    std::function<void()> m_Action;
};

struct Verdict {
    bool fails = false;
    std::optional<long long> result;
    std::optional<DWORD> error;
    Nanoseconds time = 0;
    std::vector<std::function<void()>> actions;
};

struct CallRecord {
    Nanoseconds time;
    std::string thread;
    std::string name;
    std::string subject;
    std::string arguments; // "" where nothing is worth noting
    long long result;
};

class Script {
public:
    // A name that calls can have. As long as none was told, every name is taken.
    void allow(std::string name) { m_Names.insert(std::move(name)); }

    // The reference stays good until the simulation ends. Throws std::invalid_argument when no call has this name.
    Rule& on(std::string name);
    // No rule holds any more. Those that met no call are still a problem.
    void clear() { m_Retired.splice(m_Retired.end(), m_Rules); }
    // One line per rule that met no call and was not told that this may be.
    [[nodiscard]] std::vector<std::string> unmet() const;

    // Counts the call and says what the rules want of it.
    Verdict next(std::string_view name, std::string_view subject);
    // The first thousand calls of each name are kept.
    void record(CallRecord call);

    // Both throw std::invalid_argument when no call has this name.
    [[nodiscard]] std::vector<CallRecord> calls(std::string_view name) const;
    [[nodiscard]] unsigned count(std::string_view name) const;
    // All kept calls whose names begin so, in the order of their ends.
    [[nodiscard]] std::vector<CallRecord> callsBeginning(std::string_view prefix) const;
    [[nodiscard]] const std::map<std::string, unsigned, std::less<>>& counts() const { return m_Counts; }

private:
    void checkName(std::string_view name) const;

    std::set<std::string, std::less<>> m_Names;
    std::list<Rule> m_Rules;
    std::list<Rule> m_Retired; // by clear()
    std::map<std::string, unsigned, std::less<>> m_Counts;
    std::map<std::string, unsigned, std::less<>> m_Kept;
    std::vector<CallRecord> m_Calls;
};

} // namespace simulator
