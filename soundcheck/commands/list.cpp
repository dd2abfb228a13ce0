#include "commands/list.h"

#include "client/errors.h"
#include "commands/checks.h"
#include "commands/device_list.h"
#include "commands/device_run.h"
#include "commands/session.h"

#include <CLI/CLI.hpp>
#include <map>
#include <utility>

namespace soundcheck {
namespace {

using DeviceLists = std::map<DeviceDirection, std::vector<DeviceEntry>>;

/** Lists, and opens one device after the other. */
class Sheets {
public:
    Sheets(const RunContext& context, Session& session, Checks& checks)
        : m_context(context), m_session(session), m_checks(checks) {}

    /** Adds the sheet to the section as soon as it is known: a device that hangs ends the program. */
    void fill(Json& section, DeviceDirection direction, const std::vector<DeviceEntry>& devices) {
        m_context.console.line(std::string(directionName(direction)) + " devices");
        for (std::size_t i = 0; i < devices.size(); ++i) {
            if (m_context.interrupt.requested()) {
                m_interrupted = true;
                return;
            }
            m_context.console.line(deviceLine(devices[i]));
            section[std::string(directionName(direction))][i].update(open(direction, devices[i]));
            m_context.document.set("list", section);
            ++m_opened;
        }
        if (devices.empty())
            m_context.console.line("  none");
    }

    bool interrupted() const { return m_interrupted; }
    int opened() const { return m_opened; }

private:
    Json open(DeviceDirection direction, const DeviceEntry& entry) {
        try {
            const std::unique_ptr<Device> device = m_session.open(direction, entry);
            const DeviceFormat format = device->format();
            m_session.close(*device);
            m_context.console.line("        opens with " + formatText(format) + ", mask " +
                                   std::to_string(format.channelMask));
            return {{"format",
                     {{"channels", format.channels},
                      {"bits", format.bitsPerSample},
                      {"rate", format.sampleRate},
                      {"mask", format.channelMask}}}};
        } catch (const BackendError& error) {
            m_context.console.line(std::string("        ") + error.what());
            m_checks.expect(false, printableName(entry.name) + " does not open: " + error.what());
            return {{"failure", error.what()}};
        }
    }

    const RunContext& m_context;
    Session& m_session;
    Checks& m_checks;
    bool m_interrupted = false;
    int m_opened = 0;
};

} // namespace

std::string ListCommand::description() const {
    return "List the devices; * marks the default voice device";
}

void ListCommand::addOptions(CLI::App& app) {
    app.add_flag("--formats", m_formats, "Open each device, and tell its channels, bits, rate and mask");
}

ExitCode ListCommand::run(const RunContext& context) {
    Session session(context);
    Checks checks(context);
    DeviceLists lists;
    Json section = Json::object();
    for (const DeviceDirection direction : kDirections) {
        lists[direction] = session.backend().devices(direction);
        section[std::string(directionName(direction))] = devicesJson(lists[direction]);
    }
    context.document.set(name(), section);

    Sheets sheets(context, session, checks);
    for (const DeviceDirection direction : kDirections)
        if (m_formats)
            sheets.fill(section, direction, lists[direction]);
        else
            printDevices(context.console, direction, lists[direction]);
    if (lists[ORVO_PLAYBACK].empty() && lists[ORVO_CAPTURE].empty())
        throw Failure(ExitCode::nothingChecked, "There is no device.");
    if (sheets.interrupted() && sheets.opened() == 0)
        throw InterruptedTooEarly();
    if (sheets.interrupted())
        context.document.setEnded("interrupted");
    return checks.exitCode();
}

} // namespace soundcheck
