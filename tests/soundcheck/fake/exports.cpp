#include "audio.h"
#include "fake_backend.h"
#include "known_devices.h"
#include "orvosoundbackend.h"
#include "words.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#define FAKE_EXPORT extern "C" __declspec(dllexport)

using namespace fake;

struct DirectSoundBackend {
    Room room;
    std::map<std::string, std::unique_ptr<OpenDevice>> open; ///< by direction and identifier
    std::vector<std::unique_ptr<OpenDevice>> closed;
    std::map<std::string, int> openings; ///< by direction and identifier
    int opens = 0;
    int starts = 0;
    std::atomic<bool> latecomerIsThere = false;
    std::thread monitor;
};

namespace {

DeviceInfoRecord recordOf(const Known& known) {
    DeviceInfoRecord record{};
    record.idLength = static_cast<std::uint8_t>(std::strlen(known.id));
    record.nameLength = static_cast<std::uint8_t>(std::strlen(known.name));
    std::copy_n(known.id, record.idLength, record.id);
    std::copy_n(known.name, record.nameLength, record.name);
    return record;
}

std::string key(DeviceDirection direction, const char* id) {
    return std::to_string(direction) + id;
}

OpenDevice* find(DirectSoundBackend* backend, DeviceDirection direction, const char* id) {
    const auto found = backend->open.find(key(direction, id));
    return found == backend->open.end() ? nullptr : found->second.get();
}

/** A device comes, becomes the default, and goes again. */
void comeAndGo(DirectSoundBackend& backend) {
    const BackendCallbacks& callbacks = backend.room.callbacks;
    const auto tell = [&](DeviceEventCode event, std::int32_t value) {
        callbacks.notifyDeviceChange(callbacks.clientContext, event, kLatecomer.id, value);
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
    return notes();
}

FAKE_EXPORT std::size_t fake_played(std::int16_t* samples, std::size_t capacity) {
    return copyPlayed(samples, capacity);
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
    (*out)->room.callbacks = *callbacks;
    if (asked("latecomer"))
        (*out)->monitor = std::thread([backend = *out] { comeAndGo(*backend); });
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_finalize(DirectSoundBackend* backend) {
    note(backend->open.empty() && backend->closed.empty() ? "finalize" : "FINALIZED-TOO-EARLY");
    takeTimeIfAsked();
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
    auto device = std::make_unique<OpenDevice>();
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
    OpenDevice* const device = find(backend, direction, id);
    if (device == nullptr || device->contextId != contextId)
        return ORVO_INVALID_CONTEXT_ID;
    if (device->worker.joinable()) {
        note("STARTED-TWICE");
        return ORVO_CALL_OUT_OF_ORDER;
    }
    if (asked("start-fails"))
        return ORVO_PLAYBACK_START;
    const int start = ++backend->starts;
    if (asked("start-out-of-order") || (asked("late-event") && start == 3) ||
        (asked("late-events") && start % 3 == 0))
        return ORVO_CALL_OUT_OF_ORDER;
    if (asked("log-error"))
        backend->room.callbacks.logMessage(backend->room.callbacks.clientContext, id, "something broke",
                                           ORVO_LOG_ERROR);
    device->worker = std::thread([backend, device] { run(backend->room, *device); });
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
    takeTimeIfAsked();
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
    *counter = ++backend->room.associations;
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_lockDSP(DirectSoundBackend* backend) {
    backend->room.dsp.lock();
    return ORVO_OK;
}

FAKE_EXPORT BackendResult orvosoundbackend_unlockDSP(DirectSoundBackend* backend) {
    backend->room.dsp.unlock();
    return ORVO_OK;
}
