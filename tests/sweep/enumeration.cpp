#include "enumeration.h"

#include "codes.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace sweep {
namespace {

constexpr std::string_view kAllocation = "malloc"; // counted, but not recorded

void add(std::vector<Fault>& faults, std::string_view session, std::string_view call, std::string_view subject,
         unsigned count) {
    for (unsigned n = 1; n <= count; ++n) {
        for (const bool lasting : {false, true}) {
            if (lasting && call == kAllocation)
                continue;
            for (const Code& code : codesOf(call))
                faults.push_back({std::string(session), std::string(call), std::string(subject), n, lasting, code});
        }
    }
}

} // namespace

const simulator::CallRecord* Calls::hitBy(const Fault& fault) const {
    const std::vector<const simulator::CallRecord*> hits = allHitBy(fault);
    return hits.empty() ? nullptr : hits.front();
}

std::vector<const simulator::CallRecord*> Calls::allHitBy(const Fault& fault) const {
    std::vector<const simulator::CallRecord*> hits;
    unsigned seen = 0;
    for (const simulator::CallRecord& call : records) {
        if (call.name != fault.call || call.subject != fault.subject || ++seen < fault.n)
            continue;
        hits.push_back(&call);
        if (!fault.lasting)
            break;
    }
    return hits;
}

std::vector<Fault> allFaults(std::string_view session, const Calls& calls) {
    std::map<std::pair<std::string_view, std::string_view>, unsigned> targets;
    for (const simulator::CallRecord& call : calls.records) {
        if (!whyNeverFails(call.name, call.subject))
            ++targets[{call.name, call.subject}];
    }
    std::vector<Fault> faults;
    for (const auto& [target, count] : targets)
        add(faults, session, target.first, target.second, count);
    if (const auto counted = calls.counts.find(kAllocation); counted != calls.counts.end())
        add(faults, session, kAllocation, "", counted->second);
    return faults;
}

std::size_t callsHitBy(const std::vector<Fault>& faults) {
    std::set<std::tuple<std::string_view, std::string_view, unsigned>> calls;
    for (const Fault& fault : faults)
        calls.emplace(fault.call, fault.subject, fault.n);
    return calls.size();
}

std::vector<std::string> unknownCalls(const Calls& calls) {
    std::set<std::string> names;
    for (const simulator::CallRecord& call : calls.records) {
        if (codesOf(call.name).empty() && !whyNeverFails(call.name, call.subject))
            names.insert(call.name);
    }
    return {names.begin(), names.end()};
}

std::vector<std::string> incompleteCalls(const Calls& calls) {
    std::vector<std::string> names;
    for (const auto& [name, count] : calls.counts) {
        const auto kept = std::ranges::count(calls.records, name, &simulator::CallRecord::name);
        if (name != kAllocation && !codesOf(name).empty() && static_cast<unsigned>(kept) != count)
            names.push_back(name);
    }
    return names;
}

std::vector<Fault> sampleOf(const std::vector<Fault>& faults, std::size_t about) {
    if (faults.size() <= about)
        return faults;
    std::vector<Fault> sample;
    std::set<std::tuple<std::string_view, std::string_view, bool>> seen;
    const double stride = static_cast<double>(faults.size()) / static_cast<double>(about);
    double next = stride;
    for (std::size_t i = 0; i < faults.size(); ++i) {
        const Fault& fault = faults[i];
        const bool first = seen.emplace(fault.call, fault.subject, fault.lasting).second;
        const bool due = static_cast<double>(i) >= next;
        if (due)
            next += stride;
        if (first || due)
            sample.push_back(fault);
    }
    return sample;
}

} // namespace sweep
