#include "commands/list.h"

#include "commands/session.h"
#include "platform/text.h"

namespace soundcheck {
namespace {

/** The plug-in may cut a name inside a character; on its way through UTF-16 the rest becomes a replacement. */
std::string printable(const std::string& name) {
    return toUtf8(toWide(name));
}

void printList(Console& console, std::string_view title, const std::vector<DeviceEntry>& devices) {
    console.line(title);
    for (const DeviceEntry& device : devices) {
        const std::string number = std::to_string(device.number);
        console.line(std::string(number.size() < 3 ? 3 - number.size() : 0, ' ') + number +
                     (device.isDefault ? " * " : "   ") + device.id + "  " + printable(device.name));
    }
    if (devices.empty())
        console.line("  none");
}

Json listJson(const std::vector<DeviceEntry>& devices) {
    Json list = Json::array();
    for (const DeviceEntry& device : devices)
        list.push_back({{"number", device.number},
                        {"id", device.id},
                        {"name", printable(device.name)},
                        {"default", device.isDefault}});
    return list;
}

} // namespace

std::string ListCommand::description() const {
    return "List the devices; * marks the default voice device";
}

void ListCommand::addOptions(CLI::App&) {}

ExitCode ListCommand::run(const RunContext& context) {
    Session session(context);
    const std::vector<DeviceEntry> playback = session.backend().devices(ORVO_PLAYBACK);
    const std::vector<DeviceEntry> capture = session.backend().devices(ORVO_CAPTURE);
    printList(context.console, "playback devices", playback);
    printList(context.console, "capture devices", capture);
    context.document.set(name(), {{"playback", listJson(playback)}, {"capture", listJson(capture)}});
    if (playback.empty() && capture.empty())
        throw Failure(ExitCode::nothingChecked, "There is no device.");
    return ExitCode::done;
}

} // namespace soundcheck
