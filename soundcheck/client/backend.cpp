#include "client/backend.h"

#include <exception>

namespace soundcheck {

std::int32_t BackendListener::fillPlayback(std::string_view, const AudioBlock&) {
    return 0;
}
void BackendListener::takeCapture(std::string_view, const AudioBlock&, const AudioBlock*) {}
void BackendListener::deviceChanged(DeviceEventCode, std::string_view, std::int32_t) {}
void BackendListener::logMessage(std::string_view, std::string_view, std::int32_t) {}

namespace {

// The C side of the listener. No exception may enter the plug-in: its threads would end the process.

BackendListener& listenerOf(void* context) {
    return *static_cast<BackendListener*>(context);
}

extern "C" void notifyDeviceChange(void* context, std::int32_t event, const char* deviceId, std::int32_t value) {
    try {
        listenerOf(context).deviceChanged(static_cast<DeviceEventCode>(event), deviceId, value);
    } catch (...) { // nothing to be done: a lost notice
    }
}

extern "C" std::int32_t getPlaybackData(void* context, const char* deviceId, AudioBlock* block) {
    try {
        return listenerOf(context).fillPlayback(deviceId, *block);
    } catch (...) { // silence
        return 0;
    }
}

extern "C" void deliverCaptureData(void* context, const char* deviceId, AudioBlock* captured, AudioBlock* reference) {
    try {
        listenerOf(context).takeCapture(deviceId, *captured, reference);
    } catch (...) { // nothing to be done: a lost block
    }
}

extern "C" void logMessage(void* context, const char* deviceId, const char* message, std::int32_t level) {
    try {
        listenerOf(context).logMessage(deviceId, message, level);
    } catch (...) { // nothing to be done: a lost line
    }
}

/** What one enumeration gathers. */
struct Listing {
    std::vector<DeviceEntry> entries;
    std::exception_ptr failure;
};

extern "C" std::int32_t addDevice(const DeviceInfoRecord* record, void* userValue) {
    auto& listing = *static_cast<Listing*>(userValue);
    try {
        listing.entries.push_back({static_cast<int>(listing.entries.size()) + 1, record->id, record->name, false});
    } catch (...) {
        listing.failure = std::current_exception();
    }
    return 0;
}

} // namespace

Backend::Backend(const Library& library, BackendListener& listener) : m_library(library) {
    const BackendCallbacks callbacks = {&listener, notifyDeviceChange, getPlaybackData, deliverCaptureData,
                                        logMessage};
    library.check(exports().orvosoundbackend_initialize(&m_backend, &callbacks), "Initializing the backend");
}

Backend::~Backend() {
    exports().orvosoundbackend_waitForClosedDevices(m_backend);
    exports().orvosoundbackend_finalize(m_backend);
}

std::vector<DeviceEntry> Backend::devices(DeviceDirection direction) const {
    Listing listing;
    const BackendResult result = exports().orvosoundbackend_enumDevices(m_backend, direction, addDevice, &listing);
    if (listing.failure)
        std::rethrow_exception(listing.failure);
    m_library.check(result, "Listing the devices");
    const std::optional<std::string> marked = defaultDevice(direction);
    for (DeviceEntry& entry : listing.entries)
        entry.isDefault = marked == entry.id;
    return listing.entries;
}

std::optional<std::string> Backend::defaultDevice(DeviceDirection direction) const {
    DeviceInfoRecord record{};
    const BackendResult result = exports().orvosoundbackend_getDefaultDevice(m_backend, direction, &record);
    if (result == ORVO_NO_DEFAULT_FOUND)
        return std::nullopt;
    m_library.check(result, "Asking for the default device");
    return record.id;
}

void Backend::waitForClosedDevices() const {
    m_library.check(exports().orvosoundbackend_waitForClosedDevices(m_backend), "Waiting for the closed devices");
}

DspLockGuard::DspLockGuard(const Backend& backend) : m_backend(backend) {
    backend.library().check(backend.exports().orvosoundbackend_lockDSP(backend.handle()), "Taking the DSP lock");
}

DspLockGuard::~DspLockGuard() {
    m_backend.exports().orvosoundbackend_unlockDSP(m_backend.handle());
}

} // namespace soundcheck
