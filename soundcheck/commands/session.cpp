#include "commands/session.h"

#include "client/device_selection.h"
#include "commands/device_list.h"
#include "platform/system_info.h"
#include "platform/text.h"
#include "report/environment.h"

#include <utility>

namespace soundcheck {

Library loadLibrary(const RunContext& context) {
    const std::string& file = context.options.library;
    Library library = file.empty() ? Library() : Library(toPath(file));
    context.document.setPlugin(environmentOfPlugin(library));
    return library;
}

Session::Session(const RunContext& context)
    : m_context(context), m_printer(context.console, context.options.log), m_library(loadLibrary(context)) {
    const CallWatch watch = watchCall(m_context, "Initializing the plug-in");
    m_backend.emplace(m_library, *this);
}

Session::~Session() {
    const CallWatch watch = watchCall(m_context, "Shutting the plug-in down");
    m_backend.reset();
}

DeviceEntry Session::choose(DeviceDirection direction, const std::string& wanted) const {
    const std::vector<DeviceEntry> devices = m_backend->devices(direction);
    if (devices.empty())
        throw Failure(ExitCode::nothingChecked, "There is no " + std::string(directionName(direction)) + " device.");
    return selectDevice(devices, wanted);
}

std::unique_ptr<Device> Session::open(DeviceDirection direction, const DeviceEntry& entry) {
    const CallWatch watch = watchCall(m_context, "Opening " + entry.name);
    return std::make_unique<Device>(*m_backend, direction, entry.id);
}

void Session::start(Device& device) {
    const CallWatch watch = watchCall(m_context, "Starting the device");
    device.start();
}

void Session::close(Device& device) {
    const CallWatch watch = watchCall(m_context, "Closing the device");
    device.close();
    m_backend->waitForClosedDevices();
}

void Session::shutDown(Device& device) {
    const CallWatch watch = watchCall(m_context, "Closing the device");
    device.stop();
    device.close();
    m_backend->waitForClosedDevices();
}

std::vector<std::string> Session::shutDown(std::span<const std::unique_ptr<Device>> devices) {
    std::vector<std::string> failures;
    const auto guarded = [&](const std::string& what, const auto& call) {
        const CallWatch watch = watchCall(m_context, what);
        try {
            call();
        } catch (const BackendError& error) {
            failures.push_back(what + ": " + error.what());
        }
    };
    // All are given up before anybody waits: a device that hangs is waited for when the others are on their way.
    for (const auto& device : devices)
        if (device)
            guarded("Stopping " + device->id(), [&] { device->stop(); });
    for (const auto& device : devices)
        if (device)
            guarded("Closing " + device->id(), [&] { device->close(); });
    guarded("Waiting for the closed devices", [&] { m_backend->waitForClosedDevices(); });
    return failures;
}

// What was there before goes with the argument, when the lock is released again.

void Session::route(const Device& device, std::unique_ptr<BlockSource> source) {
    const DspLockGuard quiet(*m_backend);
    m_playback[device.id()].swap(source);
}

void Session::route(const Device& device, std::unique_ptr<BlockSink> sink) {
    const DspLockGuard quiet(*m_backend);
    m_capture[device.id()].swap(sink);
}

std::int32_t Session::fillPlayback(std::string_view deviceId, const AudioBlock& block) {
    const auto found = m_playback.find(deviceId);
    return found != m_playback.end() ? found->second->fill(block) : 0;
}

void Session::takeCapture(std::string_view deviceId, const AudioBlock& captured, const AudioBlock* reference) {
    if (const auto found = m_capture.find(deviceId); found != m_capture.end())
        found->second->take(captured, reference);
}

void Session::deviceChanged(DeviceEventCode event, std::string_view deviceId, std::int32_t value) {
    m_events.add({LogRecord::Clock::now(), localTimeText(), event, std::string(deviceId), value});
}

void Session::logMessage(std::string_view deviceId, std::string_view message, std::int32_t level) {
    m_context.document.log().add(deviceId, message, level, LogRecord::Clock::now());
    m_printer.add(deviceId, message, level);
}

} // namespace soundcheck
