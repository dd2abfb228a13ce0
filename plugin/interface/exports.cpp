// The fifteen exports. Each checks its arguments, forwards, and lets no exception out.

#include "backend/direct_sound_backend.h"
#include "devices/device_direction.h"
#include "diagnostics/result_text.h"
#include "discovery/enumeration.h"
#include "discovery/support_check.h"
#include "orvosoundbackend.h"

#include <memory>
#include <optional>

using namespace directsound;

namespace {

/// Runs an export's body; an exception becomes `onException`.
template <typename Body>
BackendResult guarded(Body body, BackendResult onException = ORVO_OS_ERROR) noexcept {
    try {
        return body();
    } catch (...) {
        return onException;
    }
}

/// Runs the body of an export that addresses a device, after the checks that all of them share.
template <typename Body>
BackendResult onDevice(const DirectSoundBackend* backend, DeviceDirection direction, const char* deviceId,
                       Body body) noexcept {
    if (!isDirection(direction))
        return ORVO_UNKNOWN_DEVICETYPE;
    if (backend == nullptr || deviceId == nullptr)
        return ORVO_INVALID_PARAM;
    return guarded(body);
}

constexpr BackendInfo kInfo{1, "Direct Sound", 200};

} // namespace

const BackendInfo* orvosoundbackend_getInfo(void) {
    return &kInfo;
}

BackendResult orvosoundbackend_isSupported(void) {
    return guarded([] { return checkSupport(); });
}

BackendResult orvosoundbackend_initialize(DirectSoundBackend** out, const BackendCallbacks* callbacks) {
    if (out != nullptr)
        *out = nullptr;
    if (out == nullptr || callbacks == nullptr)
        return ORVO_INVALID_PARAM;
    return guarded(
        [&]() -> BackendResult {
            auto backend = std::make_unique<DirectSoundBackend>(*callbacks);
            if (!backend->usable())
                return ORVO_BACKEND_UNUSABLE;
            *out = backend.release();
            return ORVO_OK;
        },
        ORVO_BACKEND_UNUSABLE);
}

BackendResult orvosoundbackend_finalize(DirectSoundBackend* backend) {
    delete backend;
    return ORVO_OK;
}

const char* orvosoundbackend_getErrorString(BackendResult code, const char** out) {
    const char* const text = resultText(code);
    if (out != nullptr)
        *out = text;
    return text;
}

BackendResult orvosoundbackend_enumDevices(DirectSoundBackend* backend, DeviceDirection direction,
                                           EnumDevicesCallback callback, void* userValue) {
    if (!isDirection(direction))
        return ORVO_UNKNOWN_DEVICETYPE;
    if (backend == nullptr || callback == nullptr)
        return ORVO_INVALID_PARAM;
    return guarded([&] { return enumDevices(backend->monitor(), direction, callback, userValue); });
}

BackendResult orvosoundbackend_getDefaultDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                                DeviceInfoRecord* record) {
    if (!isDirection(direction))
        return ORVO_UNKNOWN_DEVICETYPE;
    if (backend == nullptr)
        return ORVO_INVALID_PARAM;
    return guarded([&] { return getDefaultDevice(backend->monitor(), direction, record); });
}

BackendResult orvosoundbackend_openDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                          const char* deviceId, uint32_t contextId, uint32_t* channels,
                                          uint32_t* bitsPerSample, uint32_t* sampleRate, uint32_t* channelMask) {
    return onDevice(backend, direction, deviceId, [&]() -> BackendResult {
        if (channels == nullptr || bitsPerSample == nullptr || sampleRate == nullptr || channelMask == nullptr)
            return ORVO_INVALID_PARAM;
        std::optional<DeviceFormat> format;
        const BackendResult result = backend->openDevice(direction, deviceId, contextId, format);
        if (format) {
            *channels = format->channels;
            *bitsPerSample = format->bitsPerSample;
            *sampleRate = format->sampleRate;
            *channelMask = format->channelMask.value_or(*channelMask);
        }
        return result;
    });
}

BackendResult orvosoundbackend_closeDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                           const char* deviceId, uint32_t contextId) {
    return onDevice(backend, direction, deviceId,
                    [&] { return backend->closeDevice(direction, deviceId, contextId); });
}

BackendResult orvosoundbackend_waitForClosedDevices(DirectSoundBackend* backend) {
    return guarded(
        [&]() -> BackendResult {
            if (backend != nullptr)
                backend->monitor().waitForClosed();
            return ORVO_OK;
        },
        ORVO_OK);
}

BackendResult orvosoundbackend_startDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                           const char* deviceId, uint32_t contextId) {
    return onDevice(backend, direction, deviceId,
                    [&] { return backend->startDevice(direction, deviceId, contextId); });
}

BackendResult orvosoundbackend_stopDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                          const char* deviceId, uint32_t contextId) {
    return onDevice(backend, direction, deviceId,
                    [&] { return backend->stopDevice(direction, deviceId, contextId); });
}

BackendResult orvosoundbackend_associateAECDevice(DirectSoundBackend* backend, const char* captureDeviceId,
                                                  const char* playbackDeviceId, uint32_t contextId,
                                                  uint32_t* echoChannelMask, uint32_t* echoBitsPerSample,
                                                  uint32_t* echoSampleRate, uint32_t* associationCounter) {
    return onDevice(backend, ORVO_CAPTURE, captureDeviceId, [&] {
        return backend->associateAECDevice(captureDeviceId, playbackDeviceId, contextId,
                                           {echoChannelMask, echoBitsPerSample, echoSampleRate, associationCounter});
    });
}

BackendResult orvosoundbackend_lockDSP(DirectSoundBackend* backend) {
    if (backend != nullptr)
        backend->dspLock().lock();
    return ORVO_OK;
}

BackendResult orvosoundbackend_unlockDSP(DirectSoundBackend* backend) {
    if (backend != nullptr)
        backend->dspLock().unlock();
    return ORVO_OK;
}
