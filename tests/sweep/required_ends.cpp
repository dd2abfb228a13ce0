// Which failures leave the client waiting for ever.
#include "events.h"
#include "required.h"

#include <algorithm>

namespace sweep {
namespace {

using simulator::CallRecord;

constexpr const char* kNoMonitor = "without its monitor no device is closed, and the client waits for one";

// Whether a call with these properties comes after `begin`.
template <class Condition>
const CallRecord* findAfter(const CallRecord* begin, const Calls& calls, Condition holds) {
    const CallRecord* const end = calls.records.data() + calls.records.size();
    const CallRecord* const found = std::find_if(begin + 1, end, holds);
    return found == end ? nullptr : found;
}

// Whether from here on the monitor has a device to end for which the client waits.
bool closesLater(const CallRecord& hit, const Calls& calls) {
    const CallRecord* closed = &hit;
    for (const CallRecord& call : calls.records) {
        if (call.name != "SetEvent")
            continue;
        const EventRole role = roleOf(call.subject, calls);
        if (isClient(call.thread) && role == EventRole::wake)
            closed = &call;
        if (&call > &hit && isMonitor(call.thread, calls) && role == EventRole::command)
            return findAfter(closed, calls, [&](const CallRecord& c) {
                       return isClient(c.thread) && c.name == "ResetEvent" &&
                              roleOf(c.subject, calls) == EventRole::done;
                   }) != nullptr;
    }
    return false;
}

bool clientWaitsLater(const CallRecord& hit, const Calls& calls) {
    return findAfter(&hit, calls, [&](const CallRecord& c) {
               return isClient(c.thread) && c.name == "WaitForSingleObject" && c.subject == hit.subject;
           }) != nullptr;
}

// The thread that waits for this event with its name.
std::string_view workerOf(std::string_view command, const Calls& calls) {
    const auto waits = std::ranges::find_if(calls.records, [&](const CallRecord& c) {
        return c.name == "WaitForSingleObject" && c.subject == command && isWorker(c.thread, calls);
    });
    return waits->thread;
}

const char* whyUncommanded(const Fault& fault, const CallRecord& hit, const Calls& calls) {
    // Next its thread leaves the device's section, and then, but for a stop, it waits.
    const auto byItsThread = [&](const CallRecord& c) { return c.thread == hit.thread; };
    const CallRecord* const leave = findAfter(&hit, calls, byItsThread);
    const CallRecord* const wait = leave ? findAfter(leave, calls, byItsThread) : nullptr;
    if (!wait || wait->name != "WaitForSingleObject")
        return fault.lasting ? "a device that is not told to stop is not told to end either" : nullptr;
    if (!wait->subject.starts_with('T'))
        return "a worker that is not told its command never answers";
    const bool lives = findAfter(&hit, calls, [&](const CallRecord& c) {
        return c.name == "_endthreadex" && c.thread == workerOf(hit.subject, calls);
    });
    return lives ? "a worker that is not told to end is waited for" : nullptr;
}

const char* whyUnset(const Fault& fault, const CallRecord& hit, const Calls& calls) {
    switch (roleOf(hit.subject, calls)) {
    case EventRole::command:
        return whyUncommanded(fault, hit, calls);
    case EventRole::reply:
        return clientWaitsLater(hit, calls) ? "an answer that is not told is waited for" : nullptr;
    case EventRole::done: // set again within a second
        return fault.lasting && clientWaitsLater(hit, calls) ? "the end of the devices is never told" : nullptr;
    case EventRole::wake: // it wakes once a second all the same
    case EventRole::idle: // for the loops only, and a command ends their wait
        break;
    }
    return nullptr;
}

const char* whyStuckAt(const Fault& fault, const CallRecord& hit, const Calls& calls) {
    if (hit.name == "CoInitializeEx" && isWorker(hit.thread, calls))
        return "a worker without COM answers no command";
    if (hit.name == "CoInitializeEx" || hit.name == "QueryPerformanceFrequency" ||
        (hit.name == "QueryPerformanceCounter" && firstOfItsThread(hit, calls)))
        return closesLater(hit, calls) ? kNoMonitor : nullptr;
    return hit.name == "SetEvent" ? whyUnset(fault, hit, calls) : nullptr;
}

} // namespace

const char* whyEndsStuck(const Fault& fault, const Calls& calls) {
    for (const CallRecord* hit : calls.allHitBy(fault)) {
        if (const char* reason = whyStuckAt(fault, *hit, calls))
            return reason;
    }
    return nullptr;
}

} // namespace sweep
