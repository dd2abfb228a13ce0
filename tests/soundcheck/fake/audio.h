/**
 * @file
 * The audio of the fake plug-in: what an open device does between its start and the wait for closed devices, on a thread
 * of its own. Everything that is played is kept, over all devices and as long as the plug-in is loaded.
 */
#pragma once

#include "cable.h"
#include "orvosoundbackend.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace fake {

inline constexpr std::uint32_t kChannels = 2;
inline constexpr std::uint32_t kRate = 48000;

/** What all devices of one backend share. */
struct Room {
    BackendCallbacks callbacks{};
    std::mutex dsp;
    Cable cable;
    std::atomic<std::uint32_t> associations = 0;
    std::atomic<int> playing = 0; ///< playback devices that run
};

/** One opening of a device. */
struct OpenDevice {
    DeviceDirection direction;
    std::string id;
    std::uint32_t contextId;
    int opening = 1;        ///< of this device
    std::size_t echoed = 0; ///< samples of what was played that a microphone has heard
    std::atomic<bool> stopping = false;
    std::thread worker;
};

/** Calls back block after block, until the device is to stop. */
void run(Room& room, OpenDevice& device);

/** Copies all that was played, up to `capacity` samples. @return samples */
std::size_t copyPlayed(std::int16_t* samples, std::size_t capacity);

} // namespace fake
