#include "voice_client.h"

#include <stdexcept>
#include <utility>

namespace {

constexpr std::uint32_t kContextId = 1;
constexpr int kCallsBeforeNextTry = 50;

} // namespace

VoiceClient::VoiceClient(Speech speech) : m_Speech(std::move(speech)) {
    const BackendCallbacks callbacks{this, &VoiceClient::changed, &VoiceClient::play, &VoiceClient::capture,
                                     &VoiceClient::log};
    if (m_Plugin.orvosoundbackend_initialize(&m_Backend, &callbacks) != ORVO_OK)
        throw std::runtime_error("the sound backend cannot be used");
}

VoiceClient::~VoiceClient() {
    close();
    m_Plugin.orvosoundbackend_finalize(m_Backend);
}

void VoiceClient::tend() {
    if (m_Failed.exchange(false)) {
        close();
        m_Pause = kCallsBeforeNextTry;
    }
    if (m_DevicesChanged.exchange(false)) {
        m_Pause = 0;
    } else if (m_Pause > 0) {
        --m_Pause;
        return;
    } else if (!m_Device.empty()) {
        return;
    }
    const std::string wanted = defaultDevice();
    if (wanted == m_Device)
        return;
    close();
    if (!wanted.empty() && !open(wanted))
        m_Pause = kCallsBeforeNextTry;
}

std::string VoiceClient::defaultDevice() const {
    DeviceInfoRecord record{};
    if (m_Plugin.orvosoundbackend_getDefaultDevice(m_Backend, ORVO_PLAYBACK, &record) != ORVO_OK)
        return {};
    return record.id;
}

bool VoiceClient::open(const std::string& device) {
    std::uint32_t channels = 0;
    std::uint32_t bits = 0;
    std::uint32_t rate = 0;
    std::uint32_t mask = 0;
    if (m_Plugin.orvosoundbackend_openDevice(m_Backend, ORVO_PLAYBACK, device.c_str(), kContextId, &channels, &bits,
                                             &rate, &mask) != ORVO_OK)
        return false;
    m_Device = device;
    m_Channels = static_cast<int>(channels);
    if (m_Plugin.orvosoundbackend_startDevice(m_Backend, ORVO_PLAYBACK, device.c_str(), kContextId) == ORVO_OK)
        return true;
    close(); // a device that did not start is of no more use
    return false;
}

void VoiceClient::close() {
    if (m_Device.empty())
        return;
    m_Plugin.orvosoundbackend_stopDevice(m_Backend, ORVO_PLAYBACK, m_Device.c_str(), kContextId);
    m_Plugin.orvosoundbackend_closeDevice(m_Backend, ORVO_PLAYBACK, m_Device.c_str(), kContextId);
    m_Plugin.orvosoundbackend_waitForClosedDevices(m_Backend); // no callback comes any more
    m_Device.clear();
}

// --- on the plug-in's threads ---

void VoiceClient::changed(void* self, std::int32_t /*event*/, const char* /*device*/, std::int32_t /*value*/) {
    static_cast<VoiceClient*>(self)->m_DevicesChanged = true;
}

std::int32_t VoiceClient::play(void* self, const char* /*device*/, AudioBlock* block) {
    auto& client = *static_cast<VoiceClient*>(self);
    client.m_Speech(block->samples, block->frameCount, client.m_Channels);
    ++client.m_Blocks;
    return block->frameCount;
}

void VoiceClient::capture(void* /*self*/, const char* /*device*/, AudioBlock* /*block*/, AudioBlock* /*echo*/) {}

// A device that fails while it runs says so in a line of level 1, and then asks for nothing any more.
void VoiceClient::log(void* self, const char* /*device*/, const char* /*text*/, std::int32_t level) {
    if (level == ORVO_LOG_ERROR)
        static_cast<VoiceClient*>(self)->m_Failed = true;
}
