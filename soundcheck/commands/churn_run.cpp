#include "commands/churn_run.h"

#include "commands/device_run.h"
#include "platform/system_info.h"

#include <algorithm>
#include <optional>
#include <string>
#include <thread>

namespace soundcheck {
namespace {

/** Of opening a device again. */
constexpr int kAttempts = 3;
constexpr auto kPause = std::chrono::milliseconds(100);

bool mayBeLateEvent(ChurnCall call, BackendResult code) {
    return (call == ChurnCall::open || call == ChurnCall::start) &&
           (code == ORVO_CALL_OUT_OF_ORDER || code == ORVO_UNKNOWN) && wineVersion().has_value();
}

} // namespace

ChurnRun::ChurnRun(const RunContext& context, Checks& checks, Session& session, std::vector<PickedDevice> devices)
    : m_context(context), m_checks(checks), m_session(session), m_picked(std::move(devices)),
      m_streams(m_picked.size()), m_devices(m_picked.size()) {}

bool ChurnRun::perform(const ChurnStep& step) {
    ChurnTimes& times = m_times[static_cast<std::size_t>(step.call)];
    const auto before = std::chrono::steady_clock::now();
    std::optional<BackendError> failure;
    try {
        call(step);
    } catch (const BackendError& error) {
        ++times.failed;
        failure = error;
    }
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - before;
    ++times.count;
    times.totalMilliseconds += taken.count();
    times.slowestMilliseconds = std::max(times.slowestMilliseconds, taken.count());
    countBlocks();
    if (!failure)
        return true;
    closeAll();
    if (mayBeLateEvent(step.call, failure->code()) && opensAndStarts(step.device))
        ++m_lateEvents;
    else
        noteFailure(step, *failure);
    return false;
}

void ChurnRun::call(const ChurnStep& step) {
    const CallWatch watch = watchCall(m_context, std::string("The call ") + callName(step.call));
    std::unique_ptr<Device>& device = m_devices[step.device];
    switch (step.call) {
    case ChurnCall::open:
        open(step.device);
        break;
    case ChurnCall::start:
        m_session.start(*device);
        break;
    case ChurnCall::stop:
        device->stop();
        break;
    case ChurnCall::close:
        device->close();
        device.reset();
        break;
    case ChurnCall::wait:
        m_session.backend().waitForClosedDevices();
        break;
    }
}

void ChurnRun::open(std::size_t number) {
    const PickedDevice& picked = m_picked[number];
    m_devices[number] = m_session.open(picked.direction, picked.entry);
    const Device& device = *m_devices[number];
    if (picked.direction == ORVO_CAPTURE) {
        m_streams[number] = &m_session.attach(device, std::make_unique<NotingSink>(device.format()));
    } else {
        requirePlayable(device.format(), picked.entry.name);
        m_streams[number] = &m_session.attach(
            device, std::make_unique<NotingSource>(std::vector<std::int16_t>{0}, device.format())); // silence
    }
}

void ChurnRun::closeAll() {
    for (const std::string& failure : m_session.shutDown(m_devices))
        m_checks.fail(failure);
    for (auto& device : m_devices)
        device.reset();
    countBlocks();
}

void ChurnRun::countBlocks() {
    for (NotingStream* const stream : m_streams)
        while (stream != nullptr && stream->events().take())
            ++m_blocks;
}

bool ChurnRun::opensAndStarts(std::size_t number) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::this_thread::sleep_for(kPause); // what was closed just now may have a late event of its own
        try {
            open(number);
            m_session.start(*m_devices[number]);
            closeAll();
            return true;
        } catch (const BackendError&) {
            closeAll();
        }
    }
    return false;
}

void ChurnRun::noteFailure(const ChurnStep& step, const BackendError& error) {
    if (++m_failures[{step.call, error.code()}] > 1)
        return; // told already; the number is told at the end
    m_checks.fail((step.call == ChurnCall::wait ? std::string() : m_picked[step.device].entry.name + ": ") +
                  error.what());
}

} // namespace soundcheck
