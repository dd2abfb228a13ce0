// What the scenarios of capture, echo reference and association have in common.
#pragma once

#include "scenario.h"

#include <algorithm>

namespace scenario {

inline constexpr std::int32_t kNoDriver = static_cast<std::int32_t>(0x88780078);
inline constexpr const char* kNoDriverLine = "unknown error: No sound driver is available for use (0x88780078)";
inline constexpr std::int32_t kInvalidCall = static_cast<std::int32_t>(0x88780032);
inline constexpr const char* kInvalidCallLine =
    "unknown error: The call is not valid for the current state of this object (0x88780032)";
inline constexpr const char* kBadFormatLine =
    "unknown error: The specified wave format is not supported (0x88780064)";

inline constexpr std::uint64_t kFramesPerBlock = 960; // at 48 kHz

// The names of all calls on a device and its objects, in order.
inline std::vector<std::string> callsOf(Simulation& sim, const Device& device) {
    std::vector<std::string> names;
    for (const CallRecord& call : sim.script().callsBeginning("")) {
        if (call.subject == device.label())
            names.push_back(call.name);
    }
    return names;
}

// Those of them that a running capture adds, without the polling.
inline std::vector<std::string> callsAfterOpen(Simulation& sim, const Device& device) {
    std::vector<std::string> names = callsOf(sim, device);
    constexpr std::size_t kCallsOfOpen = 7;
    names.erase(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(std::min(kCallsOfOpen, names.size())));
    std::erase(names, "CaptureBuffer.GetCurrentPosition");
    return names;
}

// Number of the first frame of 16-bit numbered audio; of too few bytes a number that never comes.
inline std::uint64_t firstFrame(const std::vector<std::byte>& audio, unsigned channels = 2) {
    return audio.size() < 4 ? UINT64_MAX : firstNumber(audio, channels);
}

// The blocks that came from a device, by their numbers since its start.
inline std::vector<std::uint64_t> blockNumbers(const Client& client, const Device& device) {
    std::vector<std::uint64_t> numbers;
    for (const CapturedBlock& block : client.captured) {
        if (block.device == device.id())
            numbers.push_back(firstFrame(block.audio) / kFramesPerBlock);
    }
    return numbers;
}

inline std::vector<std::uint64_t> numbersFrom(std::uint64_t first, std::size_t count) {
    std::vector<std::uint64_t> numbers;
    for (std::size_t i = 0; i < count; ++i)
        numbers.push_back(first + i);
    return numbers;
}

inline constexpr std::uint64_t kNoReference = UINT64_MAX;

// The block of playback that came with each captured block, by its number since the begin of playback.
inline std::vector<std::uint64_t> referenceNumbers(const Client& client) {
    std::vector<std::uint64_t> numbers;
    for (const CapturedBlock& block : client.captured)
        numbers.push_back(block.hasEcho ? firstFrame(block.echoAudio) / kFramesPerBlock : kNoReference);
    return numbers;
}

inline void openAndStart(Client& client, const Device& device, std::uint32_t contextId = 7) {
    EXPECT_EQ(client.open(device, contextId).result, 0);
    EXPECT_EQ(client.start(device, contextId), 0);
}

// A microphone whose cursor moves only when the scenario says so, past the first wait of its loop.
inline void runFrozen(Simulation& sim, Client& client, Device& microphone) {
    microphone.freezes();
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(30);
}

// Moves the cursor and lets the loop see it.
inline void move(Simulation& sim, Device& device, int milliseconds) {
    device.jumps(milliseconds);
    sim.advance(25);
}

} // namespace scenario
