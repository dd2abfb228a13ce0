#include "events.h"

#include <algorithm>

namespace sweep {
namespace {

using simulator::CallRecord;

constexpr std::string_view kWait = "WaitForSingleObject";
constexpr std::string_view kMonitorsWait = "1000"; // milliseconds

template <class Condition>
bool any(const Calls& calls, std::string_view name, Condition holds) {
    return std::ranges::any_of(calls.records,
                               [&](const CallRecord& call) { return call.name == name && holds(call); });
}

} // namespace

bool isClient(std::string_view thread) {
    return thread == "client";
}

bool isMonitor(std::string_view thread, const Calls& calls) {
    return any(calls, kWait, [&](const CallRecord& c) { return c.thread == thread && c.arguments == kMonitorsWait; });
}

bool isWorker(std::string_view thread, const Calls& calls) {
    return !isClient(thread) && !isMonitor(thread, calls);
}

EventRole roleOf(std::string_view event, const Calls& calls) {
    const auto waits = [&](auto holds) {
        return any(calls, kWait, [&](const CallRecord& c) { return c.subject == event && holds(c); });
    };
    if (waits([](const CallRecord& c) { return c.arguments == kMonitorsWait; }))
        return EventRole::wake;
    if (waits([&](const CallRecord& c) { return isWorker(c.thread, calls); }))
        return EventRole::command;
    const auto isSetBy = [&](auto thread) {
        return any(calls, "SetEvent", [&](const CallRecord& c) { return c.subject == event && thread(c.thread); });
    };
    if (isSetBy([&](const std::string& thread) { return isMonitor(thread, calls); }))
        return EventRole::done;
    if (waits([](const CallRecord& c) { return isClient(c.thread); }))
        return EventRole::reply;
    return EventRole::idle;
}

} // namespace sweep
