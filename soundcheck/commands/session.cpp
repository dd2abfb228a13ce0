#include "commands/session.h"

#include "client/device_selection.h"
#include "commands/device_list.h"
#include "platform/system_info.h"
#include "platform/text.h"
#include "report/environment.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace soundcheck {

namespace {

std::span<const std::int16_t> samplesOf(const AudioBlock& block, std::int32_t frames, std::uint32_t channels) {
    return {block.samples, static_cast<std::size_t>(std::max(frames, 0)) * channels};
}

} // namespace

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
    // What an error has kept from an orderly shutdown ends with its last block.
    const auto end = [](const auto& routes) {
        for (const auto& [id, route] : routes)
            if (route.trace != nullptr && !route.trace->hasEnded())
                route.trace->end(TraceClock::time_point());
    };
    end(m_playback);
    end(m_capture);
}

DeviceEntry Session::choose(DeviceDirection direction, const std::string& wanted) const {
    const std::vector<DeviceEntry> devices = m_backend->devices(direction);
    if (devices.empty())
        throw Failure(ExitCode::nothingChecked, "There is no " + std::string(directionName(direction)) + " device.");
    return selectDevice(devices, wanted);
}

std::unique_ptr<Device> Session::open(DeviceDirection direction, const DeviceEntry& entry) {
    const CallWatch watch = watchCall(m_context, "Opening " + entry.name);
    auto device = std::make_unique<Device>(*m_backend, direction, entry.id);
    beginTrace(*device, entry.name);
    return device;
}

EchoFormat Session::associateEcho(Device& capture, const std::string& playbackId) {
    const CallWatch watch = watchCall(m_context, "Associating the echo device");
    const EchoFormat echo = capture.associateEcho(playbackId);
    const DspLockGuard quiet(*m_backend);
    m_capture[capture.id()].referenceChannels = static_cast<std::uint32_t>(std::popcount(echo.channelMask));
    return echo;
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
    const auto stopped = TraceClock::now();
    device.stop();
    device.close();
    m_backend->waitForClosedDevices();
    endTrace(device, stopped);
}

std::vector<std::string> Session::shutDown(std::span<const std::unique_ptr<Device>> devices) {
    std::vector<std::string> failures;
    const auto guarded = [&](const std::string& what, const auto& call) {
        const CallWatch watch = watchCall(m_context, what);
        try {
            call();
        } catch (const BackendError& error) {
            failures.push_back(what + " went wrong. " + error.what());
        }
    };
    const auto stopped = TraceClock::now();
    // All are given up before anybody waits: a device that hangs is waited for when the others are on their way.
    for (const auto& device : devices)
        if (device)
            guarded("Stopping " + device->id(), [&] { device->stop(); });
    for (const auto& device : devices)
        if (device)
            guarded("Closing " + device->id(), [&] { device->close(); });
    guarded("Waiting for the closed devices", [&] { m_backend->waitForClosedDevices(); });
    for (const auto& device : devices)
        if (device)
            endTrace(*device, stopped);
    return failures;
}

// What was there before goes with the argument, when the lock is released again.

void Session::route(const Device& device, std::unique_ptr<BlockSource> source) {
    const DspLockGuard quiet(*m_backend);
    m_playback[device.id()].stream.swap(source);
}

void Session::route(const Device& device, std::unique_ptr<BlockSink> sink) {
    const DspLockGuard quiet(*m_backend);
    m_capture[device.id()].stream.swap(sink);
}

void Session::beginTrace(const Device& device, const std::string& name) {
    TraceBook& traces = m_context.document.traces();
    const DspLockGuard quiet(*m_backend); // an earlier opening of the device may not have ended yet
    const auto connect = [&](auto& route) {
        route.trace = traces.begin(device.direction(), device.id(), name);
        route.format = device.format();
        route.referenceChannels = 0;
    };
    if (device.direction() == ORVO_PLAYBACK)
        connect(m_playback[device.id()]);
    else
        connect(m_capture[device.id()]);
}

void Session::endTrace(const Device& device, TraceClock::time_point stopped) {
    const DspLockGuard quiet(*m_backend);
    DeviceTrace* const trace =
        device.direction() == ORVO_PLAYBACK ? m_playback[device.id()].trace : m_capture[device.id()].trace;
    if (trace != nullptr)
        trace->end(stopped);
}

std::int32_t Session::fillPlayback(std::string_view deviceId, const AudioBlock& block) {
    const auto found = m_playback.find(deviceId);
    if (found == m_playback.end())
        return 0;
    const Route<BlockSource>& route = found->second;
    const std::int32_t frames = route.stream ? route.stream->fill(block) : 0;
    if (route.trace != nullptr)
        route.trace->addBlock(TraceClock::now(), rangeOf(samplesOf(block, frames, route.format.channels)));
    return frames;
}

void Session::takeCapture(std::string_view deviceId, const AudioBlock& captured, const AudioBlock* reference) {
    const auto found = m_capture.find(deviceId);
    if (found == m_capture.end())
        return;
    const Route<BlockSink>& route = found->second;
    if (route.stream)
        route.stream->take(captured, reference);
    if (route.trace == nullptr)
        return;
    const auto now = TraceClock::now();
    const std::span samples = samplesOf(captured, captured.frameCount, route.format.channels);
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(captured.samples), samples.size());
    route.trace->addBlock(now, route.format.bitsPerSample == 8 ? rangeOf(bytes) : rangeOf(samples));
    if (reference != nullptr && route.referenceChannels != 0)
        route.trace->addReference(now,
                                  rangeOf(samplesOf(*reference, reference->frameCount, route.referenceChannels)));
}

void Session::deviceChanged(DeviceEventCode event, std::string_view deviceId, std::int32_t value) {
    m_events.add({LogRecord::Clock::now(), localTimeText(), event, std::string(deviceId), value});
}

void Session::logMessage(std::string_view deviceId, std::string_view message, std::int32_t level) {
    const auto now = LogRecord::Clock::now();
    for (const RunContext* context = &m_context; context != nullptr; context = context->outer)
        context->document.log().add(deviceId, message, level, now);
    m_printer.add(deviceId, message, level);
}

} // namespace soundcheck
