#include "audio.h"

#include "words.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace fake {
namespace {

constexpr std::int32_t kFrames = kRate / 50;
constexpr std::size_t kSamples = std::size_t{kFrames} * kChannels; ///< of a block
constexpr auto kBlockTime = std::chrono::milliseconds(2);
constexpr auto kSlowBlockTime = std::chrono::milliseconds(50);
constexpr std::int16_t kClipped = 32767;
constexpr int kBlocksBeforeFreeze = 10;
constexpr std::size_t kEchoLagBlocks = 8;

std::mutex playedMutex;
std::vector<std::int16_t> played; ///< guarded by playedMutex

void playBlock(Room& room, const OpenDevice& device) {
    std::vector<std::int16_t> samples(kSamples);
    AudioBlock block{device.contextId, 0, samples.data(), kFrames};
    const std::lock_guard lock(room.dsp);
    const std::int32_t frames =
        room.callbacks.getPlaybackData(room.callbacks.clientContext, device.id.c_str(), &block);
    samples.resize(static_cast<std::size_t>(frames) * kChannels);
    const std::lock_guard playedLock(playedMutex);
    played.insert(played.end(), samples.begin(), samples.end());
    samples.resize(kSamples);
    room.cable.put(samples);
}

/** The microphone hears what was played; the reference is kEchoLagBlocks earlier. */
void echoBlock(Room& room, OpenDevice& device) {
    std::vector<std::int16_t> heard(kSamples);
    std::vector<std::int16_t> reference(kSamples);
    {
        const std::lock_guard lock(playedMutex);
        if (played.size() < device.echoed + kSamples)
            return;
        std::copy_n(played.begin() + static_cast<std::ptrdiff_t>(device.echoed), kSamples, reference.begin());
        if (device.echoed >= kEchoLagBlocks * kSamples)
            std::copy_n(played.begin() + static_cast<std::ptrdiff_t>(device.echoed - kEchoLagBlocks * kSamples),
                        kSamples, heard.begin());
    }
    device.echoed += kSamples;
    if (asked("deaf"))
        std::fill(heard.begin(), heard.end(), std::int16_t{0});
    AudioBlock block{device.contextId, 0, heard.data(), kFrames};
    AudioBlock echo{1, 0, reference.data(), kFrames};
    const std::lock_guard lock(room.dsp);
    room.callbacks.deliverCaptureData(room.callbacks.clientContext, device.id.c_str(),
                                      asked("reference-late") ? &echo : &block,
                                      asked("reference-late") ? &block : &echo);
}

/** Every sample of the nth block is n (a loud one: clipped), every sample of its reference is -n. */
void captureBlock(Room& room, const OpenDevice& device, std::int16_t number) {
    std::vector<std::int16_t> samples(kSamples, asked("loud") ? kClipped : number);
    const std::lock_guard lock(room.dsp);
    if (asked("loopback") && !room.cable.take(samples, room.playing != 0))
        return;
    std::vector<std::int16_t> echo(kSamples, static_cast<std::int16_t>(-number));
    AudioBlock block{device.contextId, 0, samples.data(), kFrames};
    AudioBlock reference{1, 0, echo.data(), kFrames};
    const bool silent =
        room.associations == 0 || asked("no-reference") || (asked("alternating-reference") && number % 2 == 0);
    room.callbacks.deliverCaptureData(room.callbacks.clientContext, device.id.c_str(), &block,
                                      silent ? nullptr : &reference);
}

} // namespace

void run(Room& room, OpenDevice& device) {
    const bool freezes = asked("freeze") || (asked("freeze-once") && device.opening == 1);
    const int playing = device.direction == ORVO_PLAYBACK ? 1 : 0;
    room.playing += playing;
    for (int number = 1; !device.stopping; ++number) {
        std::this_thread::sleep_for(asked("slow") ? kSlowBlockTime : kBlockTime);
        if (asked("silent") || (freezes && number > kBlocksBeforeFreeze))
            continue;
        if (device.direction == ORVO_PLAYBACK)
            playBlock(room, device);
        else if (asked("echo"))
            echoBlock(room, device);
        else
            captureBlock(room, device, static_cast<std::int16_t>(number));
    }
    room.playing -= playing;
}

std::size_t copyPlayed(std::int16_t* samples, std::size_t capacity) {
    const std::lock_guard lock(playedMutex);
    const std::size_t count = std::min(capacity, played.size());
    std::copy_n(played.begin(), count, samples);
    return count;
}

} // namespace fake
