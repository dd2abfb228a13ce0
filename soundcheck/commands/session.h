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
#include "streams/capture_stream.h"
#include "streams/playback_stream.h"

#include <memory>
#include <optional>
#include <string>

namespace soundcheck {

/** The library that the options name. */
Library loadLibrary(const CommonOptions& options);

class Session final : public BackendListener {
public:
    explicit Session(const RunContext& context);
    ~Session() override;

    Backend& backend() { return *m_backend; }
    const LogPrinter& log() const { return m_log; }

    /** The device that `wanted` names. Throws SelectionError, or Failure when there is no device at all. */
    DeviceEntry choose(DeviceDirection direction, const std::string& wanted) const;

    std::unique_ptr<Device> open(DeviceDirection direction, const DeviceEntry& entry);
    void start(Device& device);
    /** Stops and closes the device and waits until it is gone: from now on its numbers stand still. */
    void shutDown(Device& device);

    /** The stream that the playback callback takes from. */
    PlaybackStream& attach(std::unique_ptr<PlaybackStream> stream);
    /** The stream that the capture callback puts into. */
    CaptureStream& attach(std::unique_ptr<CaptureStream> stream);

    std::int32_t fillPlayback(std::string_view deviceId, const AudioBlock& block) override;
    void takeCapture(std::string_view deviceId, const AudioBlock& captured, const AudioBlock* reference) override;
    void logMessage(std::string_view deviceId, std::string_view message, std::int32_t level) override;

private:
    Console& m_console;
    LogPrinter m_log;
    std::unique_ptr<PlaybackStream> m_playback; ///< changed under the DSP lock
    std::unique_ptr<CaptureStream> m_capture;   ///< changed under the DSP lock
    Library m_library;
    std::optional<Backend> m_backend; ///< last, so that it goes before what its callbacks use
};

} // namespace soundcheck
