/**
 * @file
 * The plug-in in use: loaded, initialized, the callbacks of any number of devices connected with the streams of a
 * command, and shut down in the order that it asks for. Commands open their devices behind the session, so that these
 * are closed first.
 *
 * Thread: the main thread; the callbacks run on the plug-in's and only look their stream up. Ownership: owns the
 * streams, which live until no callback can come any more, or until another one takes their place. Failure: see the
 * client library.
 */
#pragma once

#include "client/backend.h"
#include "client/device.h"
#include "commands/command.h"
#include "commands/device_events.h"
#include "console/log_printer.h"
#include "streams/block_streams.h"
#include "streams/device_trace.h"

#include <concepts>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace soundcheck {

/** The library that the options name; the document tells which one it is. */
Library loadLibrary(const RunContext& context);

class Session final : public BackendListener {
public:
    explicit Session(const RunContext& context);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() override;

    Backend& backend() { return *m_backend; }
    const LogRecord& log() const { return m_context.document.log(); }

    /** The device that `wanted` names. Throws SelectionError, or Failure when there is no device at all. */
    DeviceEntry choose(DeviceDirection direction, const std::string& wanted) const;

    std::unique_ptr<Device> open(DeviceDirection direction, const DeviceEntry& entry);
    /** Names the playback device whose output is the capture device's echo reference. */
    EchoFormat associateEcho(Device& capture, const std::string& playbackId);
    void start(Device& device);
    /** Closes a device that was not started, and waits until it is gone. */
    void close(Device& device);
    /** Stops and closes the device and waits until it is gone: from now on its numbers stand still. */
    void shutDown(Device& device);
    /**
     * The same for many (null ones are skipped), each on its own: one that fails keeps no other open.
     * @return a sentence for each failure
     */
    std::vector<std::string> shutDown(std::span<const std::unique_ptr<Device>> devices);

    /** The stream that the device's callback takes from, or puts into; a former one goes. */
    template <std::derived_from<BlockSource> Stream>
    Stream& attach(const Device& device, std::unique_ptr<Stream> stream) {
        Stream& attached = *stream;
        route(device, std::move(stream));
        return attached;
    }
    template <std::derived_from<BlockSink> Stream>
    Stream& attach(const Device& device, std::unique_ptr<Stream> stream) {
        Stream& attached = *stream;
        route(device, std::move(stream));
        return attached;
    }

    /** The changes that the plug-in reports, from its first moment on. */
    DeviceEvents& deviceEvents() { return m_events; }

    std::int32_t fillPlayback(std::string_view deviceId, const AudioBlock& block) override;
    void takeCapture(std::string_view deviceId, const AudioBlock& captured, const AudioBlock* reference) override;
    void deviceChanged(DeviceEventCode event, std::string_view deviceId, std::int32_t value) override;
    void logMessage(std::string_view deviceId, std::string_view message, std::int32_t level) override;

private:
    template <typename Port>
    struct Route {
        std::unique_ptr<Port> stream;
        DeviceTrace* trace = nullptr;        ///< null: nobody wants pictures
        DeviceFormat format;                 ///< of what is traced
        std::uint32_t referenceChannels = 0; ///< 0: not associated
    };
    /** By identifier; looked up without making a text. */
    template <typename Port>
    using Routes = std::map<std::string, Route<Port>, std::less<>>;

    void beginTrace(const Device& device, const std::string& name);
    void endTrace(const Device& device, TraceClock::time_point stopped);
    void route(const Device& device, std::unique_ptr<BlockSource> source);
    void route(const Device& device, std::unique_ptr<BlockSink> sink);

    const RunContext m_context;
    LogPrinter m_printer;
    DeviceEvents m_events;
    Routes<BlockSource> m_playback; ///< changed under the DSP lock
    Routes<BlockSink> m_capture;    ///< changed under the DSP lock
    Library m_library;
    std::optional<Backend> m_backend; ///< last, so that it goes before what its callbacks use
};

} // namespace soundcheck
