/**
 * @file
 * The plug-in in use: loaded, initialized, its callbacks connected with the streams of a command, and shut down in
 * the order that it asks for. Commands open their devices behind the session, so that these are closed first.
 *
 * Thread: the main thread; the callbacks run on the plug-in's. Ownership: owns the streams, which live until no
 * callback can come any more. Failure: see the client library.
 */
#pragma once

#include "client/backend.h"
#include "client/device.h"
#include "commands/command.h"
#include "console/log_printer.h"
#include "streams/block_streams.h"

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace soundcheck {

/** The library that the options name. */
Library loadLibrary(const CommonOptions& options);

class Session final : public BackendListener {
public:
    explicit Session(const RunContext& context);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() override;

    Backend& backend() { return *m_backend; }
    const LogPrinter& log() const { return m_log; }

    /** The device that `wanted` names. Throws SelectionError, or Failure when there is no device at all. */
    DeviceEntry choose(DeviceDirection direction, const std::string& wanted) const;

    std::unique_ptr<Device> open(DeviceDirection direction, const DeviceEntry& entry);
    void start(Device& device);
    /** Stops and closes the device and waits until it is gone: from now on its numbers stand still. */
    void shutDown(Device& device);

    /** What the playback callback takes from. */
    template <std::derived_from<BlockSource> Source>
    Source& attach(std::unique_ptr<Source> source) {
        Source& attached = *source;
        replace(std::move(source));
        return attached;
    }
    /** What the capture callback puts into. */
    template <std::derived_from<BlockSink> Sink>
    Sink& attach(std::unique_ptr<Sink> sink) {
        Sink& attached = *sink;
        replace(std::move(sink));
        return attached;
    }

    std::int32_t fillPlayback(std::string_view deviceId, const AudioBlock& block) override;
    void takeCapture(std::string_view deviceId, const AudioBlock& captured, const AudioBlock* reference) override;
    void logMessage(std::string_view deviceId, std::string_view message, std::int32_t level) override;

private:
    void replace(std::unique_ptr<BlockSource> source);
    void replace(std::unique_ptr<BlockSink> sink);

    Console& m_console;
    LogPrinter m_log;
    std::unique_ptr<BlockSource> m_playback; ///< changed under the DSP lock
    std::unique_ptr<BlockSink> m_capture;    ///< changed under the DSP lock
    Library m_library;
    std::optional<Backend> m_backend; ///< last, so that it goes before what its callbacks use
};

} // namespace soundcheck
