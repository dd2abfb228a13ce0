#include "client/device.h"

#include <tuple>
#include <utility>

namespace soundcheck {

Device::Device(Backend& backend, DeviceDirection direction, std::string id)
    : m_backend(backend), m_direction(direction), m_id(std::move(id)), m_contextId(backend.newContextId()) {
    // The mask starts at 0, as the plug-in leaves it alone for plain formats of more than two channels.
    backend.library().check(backend.exports().orvosoundbackend_openDevice(
                                backend.handle(), direction, m_id.c_str(), m_contextId, &m_format.channels,
                                &m_format.bitsPerSample, &m_format.sampleRate, &m_format.channelMask),
                            "Opening the device");
    m_open = true;
}

Device::~Device() {
    if (m_open) // The result is dropped: a device that cannot be closed any more is gone already.
        std::ignore = m_backend.exports().orvosoundbackend_closeDevice(m_backend.handle(), m_direction, m_id.c_str(),
                                                                       m_contextId);
}

void Device::start() {
    m_backend.library().check(
        m_backend.exports().orvosoundbackend_startDevice(m_backend.handle(), m_direction, m_id.c_str(), m_contextId),
        "Starting the device");
}

void Device::stop() {
    m_backend.library().check(
        m_backend.exports().orvosoundbackend_stopDevice(m_backend.handle(), m_direction, m_id.c_str(), m_contextId),
        "Stopping the device");
}

void Device::close() {
    if (!std::exchange(m_open, false))
        return;
    m_backend.library().check(
        m_backend.exports().orvosoundbackend_closeDevice(m_backend.handle(), m_direction, m_id.c_str(), m_contextId),
        "Closing the device");
}

EchoFormat Device::associateEcho(const std::string& playbackId) {
    EchoFormat format;
    m_backend.library().check(m_backend.exports().orvosoundbackend_associateAECDevice(
                                  m_backend.handle(), m_id.c_str(), playbackId.c_str(), m_contextId,
                                  &format.channelMask, &format.bitsPerSample, &format.sampleRate,
                                  &format.associationCounter),
                              "Associating the echo device");
    return format;
}

} // namespace soundcheck
