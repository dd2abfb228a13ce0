// What the scenarios of playback have in common.
#pragma once

#include "scenario.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace scenario::render {

inline const std::string kLine = "RenderDeviceContext::int_processData ";
inline const std::string kNoDriver = "unknown error: No sound driver is available for use (0x88780078)";
inline const std::string kLost = "unknown error: Buffer memory has been lost, and must be restored (0x88780096)";
inline const std::string kBadFormat = "unknown error: The specified wave format is not supported (0x88780064)";

inline constexpr DWORD kBlockBytes = 3840; // 48000 Hz, stereo
inline constexpr std::int32_t kBlockFrames = 960;

// All DirectSound calls for playback so far, in the order of their ends, without their arguments.
inline std::vector<std::string> soundCalls(Simulation& sim) {
    std::vector<std::string> names;
    for (const CallRecord& call : sim.script().callsBeginning("")) {
        for (const char* object : {"DirectSoundCreate8", "DirectSound.", "Primary.", "Secondary."}) {
            if (call.name.starts_with(object))
                names.push_back(call.name);
        }
    }
    return names;
}

// Those that came after the first `known` ones.
inline std::vector<std::string> soundCallsAfter(Simulation& sim, std::size_t known) {
    std::vector<std::string> names = soundCalls(sim);
    names.erase(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(std::min(known, names.size())));
    return names;
}

// The blocks that were locked by the data loop, in order; the lock of start is left out.
inline std::vector<DWORD> writtenBlocks(Simulation& sim, DWORD blockBytes = kBlockBytes) {
    std::vector<DWORD> blocks;
    for (const CallRecord& call : sim.calls("Secondary.Lock")) {
        if (!call.arguments.ends_with("flags 2"))
            blocks.push_back(static_cast<DWORD>(std::stoul(call.arguments)) / blockBytes);
    }
    return blocks;
}

// The event that wakes the worker of the device opened last, while the worker waits for a command.
inline std::string commandEvent(Simulation& sim) {
    std::string name;
    for (const CallRecord& call : sim.calls("WaitForSingleObject")) {
        if (call.thread != "thread1" && call.thread.starts_with("thread") && call.arguments == "INFINITE")
            name = call.subject;
    }
    return name;
}

// The time-outs of the timed waits of a worker.
inline std::vector<std::string> timedWaits(Simulation& sim, const std::string& event) {
    std::vector<std::string> waits;
    for (const CallRecord& call : sim.calls("WaitForSingleObject")) {
        if (call.subject == event && call.arguments != "0" && call.arguments != "INFINITE")
            waits.push_back(call.arguments);
    }
    return waits;
}

// Samples of what was heard; block 0 is the first one that was played.
inline std::vector<std::int16_t> heardBlock(const Device& device, std::size_t block,
                                            std::size_t bytes = kBlockBytes) {
    std::vector<std::int16_t> samples(bytes / sizeof(std::int16_t));
    if ((block + 1) * bytes <= device.heard.audio.size())
        std::memcpy(samples.data(), &device.heard.audio[block * bytes], bytes);
    return samples;
}

inline std::size_t silentSamples(const std::vector<std::int16_t>& samples) {
    return static_cast<std::size_t>(std::ranges::count(samples, std::int16_t{0}));
}

// Living heap blocks of this size.
inline std::size_t liveOfSize(Simulation& sim, DWORD bytes) {
    const std::string size = " of " + std::to_string(bytes) + " bytes";
    return static_cast<std::size_t>(std::ranges::count_if(
        sim.heap().describeLive(), [&](const std::string& line) { return line.find(size) != std::string::npos; }));
}

} // namespace scenario::render
