// What a thread did, call by call, in words that can be compared: "enter S5", "wait E7 INFINITE", "Secondary.Stop".
#pragma once

#include "scenario.h"

#include <map>
#include <string>
#include <vector>

namespace scenario {

// What a scenario calls the sections, events and threads that the simulation has numbered: {"S5", "state"}.
using Roles = std::map<std::string, std::string>;

// The names of the handles of a wait, each by its role.
inline std::string inRoles(const std::string& names, const Roles& roles) {
    std::string text;
    for (std::size_t begin = 0; begin < names.size();) {
        const std::size_t end = std::min(names.find(' ', begin), names.size());
        const std::string name = names.substr(begin, end - begin);
        const auto role = roles.find(name);
        text.append(" ").append(role == roles.end() ? name : role->second);
        begin = end + 1;
    }
    return text;
}

// The moment, for threadCalls.
inline std::size_t callsSoFar(Simulation& sim) {
    return sim.script().callsBeginning("").size();
}

// All calls of a thread since a moment but those for memory.
inline std::vector<std::string> threadCalls(Simulation& sim, const std::string& thread, std::size_t since,
                                            const Roles& roles) {
    static const std::map<std::string, std::string> kVerbs = {
        {"EnterCriticalSection", "enter"},
        {"TryEnterCriticalSection", "try"},
        {"LeaveCriticalSection", "leave"},
        {"DeleteCriticalSection", "delete"},
        {"SetEvent", "set"},
        {"ResetEvent", "reset"},
        {"CloseHandle", "close"},
        {"WaitForSingleObject", "wait"},
        {"WaitForMultipleObjects", "wait"},
    };
    std::vector<std::string> texts;
    const std::vector<CallRecord> calls = sim.script().callsBeginning("");
    for (std::size_t i = since; i < calls.size(); ++i) {
        const CallRecord& call = calls[i];
        if (call.thread != thread || call.name == "malloc" || call.name == "free")
            continue;
        const auto verb = kVerbs.find(call.name);
        if (verb == kVerbs.end()) {
            texts.push_back(call.name);
            continue;
        }
        texts.push_back(verb->second + inRoles(call.subject, roles));
        if (verb->second == "wait")
            texts.back().append(" ").append(call.arguments);
    }
    return texts;
}

// The names of an open device's two events, as its open used them: the command is set, the reply waited for.
inline Roles eventsOf(Simulation& sim, std::size_t openedSince) {
    Roles roles;
    const std::vector<CallRecord> calls = sim.script().callsBeginning("");
    for (std::size_t i = openedSince; i < calls.size(); ++i) {
        if (calls[i].thread == Scheduler::current()->name && calls[i].name == "SetEvent")
            roles[calls[i].subject] = "command";
        if (calls[i].thread == Scheduler::current()->name && calls[i].name == "WaitForSingleObject")
            roles[calls[i].subject] = "reply";
    }
    return roles;
}

} // namespace scenario
