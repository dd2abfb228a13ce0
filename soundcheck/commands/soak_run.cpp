#include "commands/soak_run.h"

#include "commands/device_run.h"

#include <algorithm>
#include <chrono>
#include <numeric>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

/** Five times a second: calm enough to be read. */
constexpr auto kLookEvery = 200ms;

} // namespace

SoakRun::SoakRun(const RunContext& context, Checks& checks, Session& session,
                 const std::vector<PickedDevice>& devices)
    : m_context(context), m_checks(checks), m_session(session), m_streams(devices.size()), m_devices(devices.size()) {
    for (const PickedDevice& picked : devices)
        m_members.push_back({picked, SoakWatch(picked)});
}

bool SoakRun::attempt(Member& member, const std::function<void()>& step) {
    try {
        step();
        return true;
    } catch (const BackendError& error) {
        m_checks.fail(member.picked.entry.name + ": " + error.what());
    } catch (const Failure& error) {
        m_checks.fail(error.what());
    }
    return false;
}

void SoakRun::begin() {
    for (std::size_t i = 0; i < m_members.size() && !m_context.interrupt.requested(); ++i)
        if (!attempt(m_members[i], [&] { open(i); }))
            m_members[i].watch.fail();
    if (m_context.interrupt.requested())
        return;
    associate();
    for (std::size_t i = 0; i < m_members.size(); ++i)
        if (m_devices[i] && !attempt(m_members[i], [&] { start(i); }))
            m_members[i].watch.fail();
    if (std::none_of(m_members.begin(), m_members.end(), [](const Member& member) { return member.watch.runs(); }))
        throw Failure(ExitCode::backendFailed, "None of the devices runs.");
}

void SoakRun::open(std::size_t number) {
    const PickedDevice& picked = m_members[number].picked;
    std::unique_ptr<Device> device = m_session.open(picked.direction, picked.entry);
    const DeviceFormat& format = device->format();
    if (picked.direction == ORVO_CAPTURE) {
        m_streams[number] = &m_session.attach(*device, std::make_unique<NotingSink>(format));
    } else {
        requirePlayable(format, picked.entry.name);
        m_streams[number] =
            &m_session.attach(*device, std::make_unique<NotingSource>(softTone(format.sampleRate), format));
    }
    m_devices[number] = std::move(device);
}

std::vector<std::size_t> SoakRun::openDevices(DeviceDirection direction) const {
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < m_members.size(); ++i)
        if (m_devices[i] && m_members[i].picked.direction == direction)
            numbers.push_back(i);
    std::stable_partition(numbers.begin(), numbers.end(),
                          [&](std::size_t i) { return m_members[i].picked.entry.isDefault; });
    return numbers;
}

void SoakRun::associate() {
    const std::vector<std::size_t> playback = openDevices(ORVO_PLAYBACK);
    const std::vector<std::size_t> capture = openDevices(ORVO_CAPTURE);
    // A played block goes to the first who asks for it, so that no playback device can serve two.
    for (std::size_t i = 0; i < std::min(playback.size(), capture.size()); ++i)
        if (attempt(m_members[capture[i]],
                    [&] { m_session.associateEcho(*m_devices[capture[i]], m_members[playback[i]].picked.entry.id); }))
            m_members[capture[i]].watch.expectReference();
}

void SoakRun::start(std::size_t number) {
    m_session.start(*m_devices[number]);
    m_members[number].watch.begin(*m_streams[number], SoakWatch::Clock::now());
}

Ending SoakRun::watch(double seconds) {
    const auto end = SoakWatch::Clock::now() + std::chrono::duration<double>(seconds);
    for (auto now = SoakWatch::Clock::now(); now < end; now = SoakWatch::Clock::now()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        const bool interrupted = m_context.interrupt.waitFor(std::min<std::chrono::milliseconds>(kLookEvery, left));
        for (Member& member : m_members)
            if (const std::string sentence = member.watch.update(SoakWatch::Clock::now()); !sentence.empty())
                m_checks.fail(sentence);
        if (m_context.console.isTerminal())
            m_context.console.table(soakTable(rows(), m_context.console.width() - 1));
        if (interrupted)
            return Ending::interrupted;
        if (std::all_of(m_members.begin(), m_members.end(),
                        [&](const Member& member) { return member.watch.givenUp(SoakWatch::Clock::now()); }))
            return Ending::gaveUp;
    }
    return Ending::complete;
}

void SoakRun::shutDown() {
    for (const std::string& failure : m_session.shutDown(m_devices))
        m_checks.fail(failure);
}

std::vector<SoakRow> SoakRun::rows() const {
    std::vector<SoakRow> rows;
    for (const Member& member : m_members)
        rows.push_back(member.watch.row());
    return rows;
}

bool SoakRun::allBegan() const {
    return std::all_of(m_members.begin(), m_members.end(), [](const Member& member) {
        return member.watch.row().state == SoakState::failed || member.watch.row().blocks != 0;
    });
}

std::uint64_t SoakRun::lostNotes() const {
    return std::accumulate(m_members.begin(), m_members.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const Member& member) { return sum + member.watch.lostNotes(); });
}

} // namespace soundcheck
