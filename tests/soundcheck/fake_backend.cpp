#include "fake_backend.h"

#include "fake_cable.h"
#include "orvosoundbackend.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#define FAKE_EXPORT extern "C" __declspec(dllexport)

namespace {

constexpr std::uint32_t kChannels = 2;
constexpr std::uint32_t kRate = 48000;
constexpr std::int32_t kFrames = kRate / 50;
constexpr auto kBlockTime = std::chrono::milliseconds(2);
constexpr auto kSlowBlockTime = std::chrono::milliseconds(50);
constexpr std::int16_t kClipped = 32767;
constexpr int kBlocksBeforeFreeze = 10;
constexpr std::size_t kEchoLagBlocks = 8;

std::mutex journalMutex;
std::string journal;
std::vector<std::int16_t> played;

std::string variable(const char* name) {
    std::array<char, 512> text{};
    const DWORD length = GetEnvironmentVariableA(name, text.data(), static_cast<DWORD>(text.size()));
    return {text.data(), length};
}

void note(const std::string& word) {
    const std::lock_guard lock(journalMutex);
    journal += word + " ";
    if (const std::string file = variable("FAKE_BACKEND_JOURNAL"); !file.empty())
        std::ofstream(file, std::ios::app) << word << ' ';
}

bool asked(const std::string& word) {
    return (" " + variable("FAKE_BACKEND") + " ").find(" " + word + " ") != std::string::npos;
}

void hangIfAsked(const std::string& word) {
    while (asked(word))
        std::this_thread::sleep_for(std::chrono::seconds(1));
}

void takeTimeIfAsked() {
    if (asked("slow-calls"))
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
}

struct FakeDevice {
    DeviceDirection direction;
    std::string id;
    std::uint32_t contextId;
    std::size_t echoed = 0; ///< samples of what was played that a microphone has heard
    int opening = 1;        ///< of this device
    std::atomic<bool> stopping = false;
    std::thread worker;
};

struct Known {
    DeviceDirection direction;
    const char* id;
    const char* name;
};

/** Comes when `latecomer` is asked for. */
constexpr Known kLatecomer = {ORVO_PLAYBACK, "{11111111-0000-0000-0000-000000000003}", "Fake Latecomer"};

constexpr std::array<Known, 4> kKnown = {
    {{ORVO_PLAYBACK, "{11111111-0000-0000-0000-000000000001}", "Fake Speaker"},
     {ORVO_PLAYBACK, "{11111111-0000-0000-0000-000000000002}", "Fake Headphones"},
     {ORVO_CAPTURE, "{22222222-0000-0000-0000-000000000001}", "Fake Microphone"},
     {ORVO_CAPTURE, "{22222222-0000-0000-0000-000000000002}", "Fake Headset"}}};

DeviceInfoRecord recordOf(const Known& known) {
    DeviceInfoRecord record{};
    record.idLength = static_cast<std::uint8_t>(std::strlen(known.id));
    record.nameLength = static_cast<std::uint8_t>(std::strlen(known.name));
    std::copy_n(known.id, record.idLength, record.id);
    std::copy_n(known.name, record.nameLength, record.name);
    return record;
}

} // namespace

struct DirectSoundBackend {
    BackendCallbacks callbacks{};
    std::map<std::string, std::unique_ptr<FakeDevice>> open; ///< by direction and identifier
    std::vector<std::unique_ptr<FakeDevice>> closed;
    std::map<std::string, int> openings; ///< by direction and identifier
    std::mutex dsp;
    std::uint32_t associations = 0;
    FakeCable cable{asked};
    std::atomic<int> playing = 0; ///< playback devices that run
    int opens = 0;
    std::atomic<bool> latecomerIsThere = false;
    std::thread monitor;
};

namespace {

std::string key(DeviceDirection direction, const char* id) {
    return std::to_string(direction) + id;
}

FakeDevice* find(DirectSoundBackend* backend, DeviceDirection direction, const char* id) {
    const auto found = backend->open.find(key(direction, id));
    return found == backend->open.end() ? nullptr : found->second.get();
}

void playBlock(DirectSoundBackend& backend, const FakeDevice& device) {
    std::vector<std::int16_t> samples(kFrames * kChannels);
    AudioBlock block{device.contextId, 0, samples.data(), kFrames};
    const std::lock_guard lock(backend.dsp);
    const std::int32_t frames =
        backend.callbacks.getPlaybackData(backend.callbacks.clientContext, device.id.c_str(), &block);
    samples.resize(static_cast<std::size_t>(frames) * kChannels);
    const std::lock_guard journalLock(journalMutex);
    played.insert(played.end(), samples.begin(), samples.end());
    samples.resize(static_cast<std::size_t>(kFrames) * kChannels);
    backend.cable.put(samples);
}

/** The microphone hears what was played; the reference is kEchoLagBlocks earlier. */
void echoBlock(DirectSoundBackend& backend, FakeDevice& device) {
    std::vector<std::int16_t> heard(kFrames * kChannels);
    std::vector<std::int16_t> reference(kFrames * kChannels);
    {
        const std::lock_guard lock(journalMutex);
        if (played.size() < device.echoed + reference.size())
            return;
        std::copy_n(played.begin() + static_cast<std::ptrdiff_t>(device.echoed), reference.size(), reference.begin());
        if (device.echoed >= kEchoLagBlocks * heard.size())
            std::copy_n(played.begin() + static_cast<std::ptrdiff_t>(device.echoed - kEchoLagBlocks * heard.size()),
                        heard.size(), heard.begin());
    }
    device.echoed += reference.size();
    if (asked("deaf"))
        std::fill(heard.begin(), heard.end(), std::int16_t{0});
    AudioBlock block{device.contextId, 0, heard.data(), kFrames};
    AudioBlock echo{1, 0, reference.data(), kFrames};
    const std::lock_guard lock(backend.dsp);
    backend.callbacks.deliverCaptureData(backend.callbacks.clientContext, device.id.c_str(),
                                         asked("reference-late") ? &echo : &block,
                                         asked("reference-late") ? &block : &echo);
}

/** Every sample of the nth block is n (a loud one: clipped), every sample of its reference is -n. */
void captureBlock(DirectSoundBackend& backend, const FakeDevice& device, std::int16_t number) {
    std::vector<std::int16_t> samples(kFrames * kChannels, asked("loud") ? kClipped : number);
    const std::lock_guard lock(backend.dsp);
    if (asked("loopback") && !backend.cable.take(samples, backend.playing != 0))
        return;
    std::vector<std::int16_t> echo(kFrames * kChannels, static_cast<std::int16_t>(-number));
    AudioBlock block{device.contextId, 0, samples.data(), kFrames};
    AudioBlock reference{1, 0, echo.data(), kFrames};
    const bool silent =
        backend.associations == 0 || asked("no-reference") || (asked("alternating-reference") && number % 2 == 0);
    backend.callbacks.deliverCaptureData(backend.callbacks.clientContext, device.id.c_str(), &block,
                                         silent ? nullptr : &reference);
}

void work(DirectSoundBackend& backend, FakeDevice& device) {
    const bool freezes = asked("freeze") || (asked("freeze-once") && device.opening == 1);
    const int playing = device.direction == ORVO_PLAYBACK ? 1 : 0;
    backend.playing += playing;
    for (int number = 1; !device.stopping; ++number) {
        std::this_thread::sleep_for(asked("slow") ? kSlowBlockTime : kBlockTime);
        if (asked("silent") || (freezes && number > kBlocksBeforeFreeze))
            continue;
        if (device.direction == ORVO_PLAYBACK)
            playBlock(backend, device);
        else if (asked("echo"))
            echoBlock(backend, device);
        else
            captureBlock(backend, device, static_cast<std::int16_t>(number));
    }
    backend.playing -= playing;
}

/** A device comes, becomes the default, and goes again. */
void comeAndGo(DirectSoundBackend& backend) {
    const auto tell = [&](DeviceEventCode event, std::int32_t value) {
        backend.callbacks.notifyDeviceChange(backend.callbacks.clientContext, event, kLatecomer.id, value);
    };
    backend.latecomerIsThere = true;
    tell(ORVO_EVENT_DEVICE_ADDED, ORVO_PLAYBACK);
    tell(ORVO_EVENT_DEVICE_STATE, ORVO_STATE_ACTIVE);
    tell(ORVO_EVENT_DEFAULT_CHANGED, ORVO_PLAYBACK);
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    backend.latecomerIsThere = false;
    tell(ORVO_EVENT_DEVICE_STATE, ORVO_STATE_NOT_PRESENT);
    tell(ORVO_EVENT_DEVICE_REMOVED, ORVO_PLAYBACK);
}

} // namespace

FAKE_EXPORT const char* fake_journal() {
    return journal.c_str();
}

FAKE_EXPORT std::size_t fake_played(std::int16_t* samples, std::size_t capacity) {
    const std::lock_guard lock(journalMutex);
    const std::size_t count = std::min(capacity, played.size());
    std::copy_n(played.begin(), count, samples);
    return count;
}

FAKE_EXPORT const BackendInfo* orvosoundbackend_getInfo() {
    static const BackendInfo info = {1, "Fake Sound", 200};
    return &info;
}

FAKE_EXPORT BackendResult orvosoundbackend_isSupported() {
    return asked("unsupported") ? ORVO_NOTSUPPORTED : ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_initialize(DirectSoundBackend** out, const BackendCallbacks* callbacks) {
    note("initialize");
    takeTimeIfAsked();
    if (asked("initialize-fails")) {
        *out = nullptr;
        return ORVO_BACKEND_UNUSABLE;
    }
    *out = new DirectSoundBackend;
    (*out)->callbacks = *callbacks;
    if (asked("latecomer"))
        (*out)->monitor = std::thread([backend = *out] { comeAndGo(*backend); });
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_finalize(DirectSoundBackend* backend) {
    note(backend->open.empty() && backend->closed.empty() ? "finalize" : "FINALIZED-TOO-EARLY");
    if (backend->monitor.joinable())
        backend->monitor.join();
    delete backend;
    return ORVO_OK;
}

FAKE_EXPORT const char* orvosoundbackend_getErrorString(BackendResult code, const char** out) {
    const char* text = code == ORVO_NOTSUPPORTED ? "NOTSUPPORTED" : "unknown error";
    if (out != nullptr)
        *out = text;
    return text;
}

FAKE_EXPORT BackendResult orvosoundbackend_enumDevices(DirectSoundBackend* backend, DeviceDirection direction,
                                                       EnumDevicesCallback callback, void* userValue) {
    for (const Known& known : kKnown)
        if (known.direction == direction && !asked("no-devices")) {
            const DeviceInfoRecord record = recordOf(known);
            callback(&record, userValue);
        }
    if (backend->latecomerIsThere && direction == kLatecomer.direction) {
        const DeviceInfoRecord record = recordOf(kLatecomer);
        callback(&record, userValue);
    }
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_getDefaultDevice(DirectSoundBackend*, DeviceDirection direction,
                                                            DeviceInfoRecord* record) {
    if (asked("no-devices") || asked("no-default"))
        return ORVO_NO_DEFAULT_FOUND;
    *record = recordOf(direction == ORVO_PLAYBACK ? kKnown[0] : kKnown[2]);
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_openDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                                      const char* id, std::uint32_t contextId,
                                                      std::uint32_t* channels, std::uint32_t* bits,
                                                      std::uint32_t* rate, std::uint32_t* mask) {
    note("open-" + std::to_string(direction));
    takeTimeIfAsked();
    const int opening = ++backend->openings[key(direction, id)];
    if (opening == 2 && asked("second-open-fails"))
        return ORVO_DIRECTSOUNDCREATE8;
    if (opening > 1 && asked("reopen-fails"))
        return ORVO_DIRECTSOUNDCREATE8;
    if (asked("open-fails") || (asked("capture-open-fails") && direction == ORVO_CAPTURE))
        return ORVO_DIRECTSOUNDCREATE8;
    if (asked("flaky-open") && ++backend->opens % 5 == 0)
        return ORVO_PLAYBACK_START;
    if (find(backend, direction, id) != nullptr) {
        note("OPENED-TWICE");
        return ORVO_DEVICE_ALREADY_OPEN;
    }
    *channels = kChannels;
    // The bytes of 8-bit blocks are half as many as the fake really has: enough for a test of the client.
    *bits = direction == ORVO_CAPTURE && asked("eight-bits") ? 8 : 16;
    *rate = kRate;
    *mask = 3;
    auto device = std::make_unique<FakeDevice>();
    device->direction = direction;
    device->id = id;
    device->contextId = contextId;
    device->opening = opening;
    backend->open[key(direction, id)] = std::move(device);
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_startDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                                       const char* id, std::uint32_t contextId) {
    note("start-" + std::to_string(direction));
    FakeDevice* const device = find(backend, direction, id);
    if (device == nullptr || device->contextId != contextId)
        return ORVO_INVALID_CONTEXT_ID;
    if (device->worker.joinable()) {
        note("STARTED-TWICE");
        return ORVO_CALL_OUT_OF_ORDER;
    }
    if (asked("start-fails"))
        return ORVO_PLAYBACK_START;
    if (asked("log-error"))
        backend->callbacks.logMessage(backend->callbacks.clientContext, id, "something broke", ORVO_LOG_ERROR);
    device->worker = std::thread([backend, device] { work(*backend, *device); });
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_stopDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                                      const char* id, std::uint32_t) {
    note("stop-" + std::to_string(direction));
    hangIfAsked("stop-hangs");
    if (asked("stop-fails"))
        return ORVO_OS_ERROR;
    return find(backend, direction, id) != nullptr ? ORVO_OK : ORVO_DEVICE_NOT_OPEN; // a block or two may still come
}

FAKE_EXPORT BackendResult orvosoundbackend_closeDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                                       const char* id, std::uint32_t) {
    note("close-" + std::to_string(direction));
    hangIfAsked("close-hangs");
    const auto found = backend->open.find(key(direction, id));
    if (found == backend->open.end())
        return ORVO_DEVICE_NOT_OPEN;
    backend->closed.push_back(std::move(found->second)); // its callbacks go on until somebody waits for it
    backend->open.erase(found);
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_waitForClosedDevices(DirectSoundBackend* backend) {
    note("wait");
    for (const auto& device : backend->closed) {
        device->stopping = true;
        if (device->worker.joinable())
            device->worker.join();
    }
    backend->closed.clear();
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_associateAECDevice(DirectSoundBackend* backend, const char*,
                                                              const char* playbackId, std::uint32_t,
                                                              std::uint32_t* mask, std::uint32_t* bits,
                                                              std::uint32_t* rate, std::uint32_t* counter) {
    note(playbackId != nullptr ? "associate" : "dissociate");
    if (playbackId == nullptr)
        return ORVO_OK;
    *mask = 3;
    *bits = 16;
    *rate = asked("odd-echo") ? 44100 : kRate;
    *counter = ++backend->associations;
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_lockDSP(DirectSoundBackend* backend) {
    backend->dsp.lock();
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_unlockDSP(DirectSoundBackend* backend) {
    backend->dsp.unlock();
    return ORVO_OK;
}
