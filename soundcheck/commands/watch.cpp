#include "commands/watch.h"

#include "commands/device_list.h"
#include "commands/device_run.h"
#include "commands/options.h"
#include "commands/session.h"
#include "platform/text.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <map>

namespace soundcheck {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kLookEvery = std::chrono::milliseconds(50);

std::string kindOf(const DeviceEvent& event) {
    switch (event.code) {
    case ORVO_EVENT_DEFAULT_CHANGED:
        return "default";
    case ORVO_EVENT_DEVICE_ADDED:
        return "added";
    case ORVO_EVENT_DEVICE_REMOVED:
        return "removed";
    case ORVO_EVENT_DEVICE_STATE:
        if (event.value == ORVO_STATE_ACTIVE)
            return "active";
        if (event.value == ORVO_STATE_NOT_PRESENT)
            return "not present";
        return "state " + std::to_string(event.value);
    }
    return "event " + std::to_string(static_cast<int>(event.code));
}

/** Names and directions of all devices that were ever seen: what is gone still has a name. */
class KnownDevices {
public:
    struct Known {
        DeviceDirection direction;
        std::string name;
    };

    /** Adds what is listed now. */
    std::vector<DeviceEntry> learn(const Backend& backend, DeviceDirection direction) {
        std::vector<DeviceEntry> devices = backend.devices(direction);
        for (const DeviceEntry& device : devices)
            m_devices[device.id] = {direction, printableName(device.name)};
        return devices;
    }

    /** Null when no list ever held it. */
    const Known* find(const Backend& backend, const std::string& id) {
        if (m_devices.find(id) == m_devices.end())
            for (const DeviceDirection direction : kDirections)
                learn(backend, direction);
        const auto found = m_devices.find(id);
        return found != m_devices.end() ? &found->second : nullptr;
    }

private:
    std::map<std::string, Known> m_devices;
};

/** Tells one event, in a line and for the document. */
Json tellEvent(const RunContext& context, const DeviceEvent& event, const KnownDevices::Known* known) {
    // A state does not say its direction; every other event does.
    std::string_view direction = known != nullptr ? directionName(known->direction) : "unknown";
    if (event.code != ORVO_EVENT_DEVICE_STATE)
        direction = directionName(static_cast<DeviceDirection>(event.value));
    const std::string name = known != nullptr ? known->name : "";
    const auto column = [](std::string_view text, std::size_t width) {
        return std::string(text) + std::string(text.size() < width ? width - text.size() : 0, ' ') + "  ";
    };
    context.console.line(event.clock + "  " + column(direction, 8) + column(kindOf(event), 11) + event.deviceId +
                         "  " + name);
    return {{"seconds", std::round(context.document.log().seconds(event.time) * 1000) / 1000},
            {"direction", direction},
            {"kind", kindOf(event)},
            {"id", event.deviceId},
            {"name", name}};
}

} // namespace

std::string WatchCommand::description() const {
    return "Tell device changes as they come";
}

void WatchCommand::addOptions(CLI::App& app) {
    addSeconds(app, m_seconds, "Watch this long; without it until Ctrl-C");
    app.add_option("--count", m_count, "End after so many changes; fewer are a failure")
        ->type_name("N")
        ->check(CLI::PositiveNumber.description(""));
}

ExitCode WatchCommand::run(const RunContext& context) {
    Session session(context); // from now on changes gather: none is missed before or while the devices are listed
    const auto end = Clock::now() + std::chrono::duration<double>(m_seconds);
    KnownDevices known;
    Json section = Json::object();
    for (const DeviceDirection direction : kDirections) {
        const std::vector<DeviceEntry> devices = known.learn(session.backend(), direction);
        printDevices(context.console, direction, devices);
        section[std::string(directionName(direction))] = devicesJson(devices);
    }
    context.console.line("watching for changes");

    Json events = Json::array();
    Ending ending = Ending::complete;
    const auto enough = [&] {
        return (m_count != 0 && events.size() >= m_count) || (m_seconds > 0 && Clock::now() >= end);
    };
    while (!enough() && ending == Ending::complete) {
        if (context.interrupt.waitFor(kLookEvery))
            ending = Ending::interrupted;
        for (const DeviceEvent& event : session.deviceEvents().take())
            if (m_count == 0 || events.size() < m_count)
                events.push_back(tellEvent(context, event, known.find(session.backend(), event.deviceId)));
    }

    const std::size_t count = events.size();
    section["events"] = std::move(events);
    context.document.set(name(), std::move(section));
    context.document.setEnded(endingName(ending));
    Checks checks(context);
    if (ending == Ending::interrupted && count < m_count)
        throw InterruptedTooEarly();
    checks.expect(count >= m_count,
                  "Only " + std::to_string(count) + " of " + std::to_string(m_count) + " change(s) came in time.");
    checkLog(checks, session.log());
    return checks.exitCode();
}

} // namespace soundcheck
