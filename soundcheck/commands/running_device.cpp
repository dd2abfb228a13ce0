#include "commands/running_device.h"

#include "client/errors.h"
#include "commands/device_run.h"

#include <span>
#include <utility>

namespace soundcheck {

RunningDevice::RunningDevice(const RunContext& context, Session& session, DeviceDirection direction,
                             DeviceEntry entry)
    : m_context(context), m_session(session), m_direction(direction), m_entry(std::move(entry)),
      m_device(session.open(direction, m_entry)), m_format(m_device->format()) {}

void RunningDevice::start(Prepare prepare) {
    m_prepare = std::move(prepare);
    m_session.start(*m_device);
}

Supervision::Remedy RunningDevice::remedy(bool asked) {
    if (!asked)
        return {};
    return [this] { return reopen(); };
}

bool RunningDevice::reopen() {
    giveUp();
    while (m_attempts < kAttempts) {
        ++m_attempts;
        if (m_context.interrupt.waitFor(kPause)) // a driver may need a moment to let go of it
            return false;
        if (tryToOpen()) {
            ++m_reopenings;
            m_context.console.line("reopened " + m_entry.name);
            return true;
        }
    }
    return false;
}

void RunningDevice::shutDown() {
    if (m_device)
        m_session.shutDown(*m_device);
    m_device.reset();
}

/** Nothing that this device answers matters any more. */
void RunningDevice::giveUp() {
    if (!m_device)
        return;
    for (const std::string& failure : m_session.shutDown(std::span(&m_device, 1)))
        tellFinding(m_context, failure);
    m_device.reset();
}

bool RunningDevice::tryToOpen() {
    try {
        m_device = m_session.open(m_direction, m_entry);
        if (m_device->format() != m_format)
            tellFinding(m_context, m_entry.name + " came back with " + formatText(m_device->format()) + ".");
        else {
            if (m_prepare)
                m_prepare(*m_device);
            m_session.start(*m_device);
            return true;
        }
    } catch (const BackendError& error) {
        tellFinding(m_context, m_entry.name + " does not come back: " + error.what());
    }
    giveUp();
    return false;
}

} // namespace soundcheck
