/**
 * @file
 * One opening of one device: open, start, stop, close, each once. To play again, make a new Device.
 *
 * Thread: one at a time for all devices of a backend. `close` never waits, `stop` only while the device is at that
 * very moment being stopped. Callbacks may still come after close, until Backend::waitForClosedDevices has returned: what they use outlives the Backend. Failure:
 * BackendError; the destructor closes whatever the state.
 */
#pragma once

#include "client/backend.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace soundcheck {

/** Blocks of 20 ms. */
inline constexpr std::uint32_t kBlocksPerSecond = 50;

/** The format that a device really runs at. */
struct DeviceFormat {
    std::uint32_t channels = 0;
    std::uint32_t bitsPerSample = 0;
    std::uint32_t sampleRate = 0;
    std::uint32_t channelMask = 0;

    bool operator==(const DeviceFormat&) const = default;

    std::uint32_t framesPerBlock() const { return sampleRate / kBlocksPerSecond; }
    std::size_t bytesPerFrame() const { return std::size_t{channels} * bitsPerSample / 8; }
    std::size_t bytesPerBlock() const { return framesPerBlock() * bytesPerFrame(); }
};

class Device {
public:
    /** Opens the device; waits until it is open. */
    Device(Backend& backend, DeviceDirection direction, std::string id);
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device();

    const DeviceFormat& format() const { return m_format; }
    const std::string& id() const { return m_id; }
    DeviceDirection direction() const { return m_direction; }

    /** Waits until the device runs; the first callbacks may come before it returns. */
    void start();
    void stop();
    /** Gives the device up; a second call does nothing. */
    void close();

    /** Capture only: names the playback device whose output is the echo reference. */
    EchoFormat associateEcho(const std::string& playbackId);

private:
    Backend& m_backend;
    DeviceDirection m_direction;
    std::string m_id;
    std::uint32_t m_contextId;
    DeviceFormat m_format;
    bool m_open = false;
};

} // namespace soundcheck
