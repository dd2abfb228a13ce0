#include "commands/soak_watch.h"

#include "commands/supervision.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace soundcheck {
namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

} // namespace

SoakWatch::SoakWatch(const PickedDevice& device) {
    m_row.direction = device.direction;
    m_row.name = device.entry.name;
}

void SoakWatch::begin(NotingStream& stream, Clock::time_point now) {
    m_stream = &stream;
    m_stall = StallWatch(now);
}

std::string SoakWatch::update(Clock::time_point now) {
    if (!runs())
        return {};
    m_row.peak = 0;
    while (const auto event = m_stream->events().take())
        take(*event);
    const bool stalled = m_stall.update(m_row.blocks, now);
    m_row.stalls = m_stall.stalls();
    if (m_stall.stalled())
        m_row.state = SoakState::stalled;
    else
        m_row.state = m_row.blocks == 0 ? SoakState::silent : SoakState::running;
    m_row.openGapMilliseconds = m_stall.stalled() ? Milliseconds(m_stall.silence(now)).count() : 0;
    return stalled ? stallSentence(m_row.name, m_row.blocks != 0).append(kStallAdvice) : "";
}

void SoakWatch::take(const BlockEvent& event) {
    ++m_row.blocks;
    ++(event.reference ? m_row.withReference : m_row.withoutReference);
    m_row.peak = std::max(m_row.peak, event.peak);
    m_row.loudestPeak = std::max(m_row.loudestPeak, event.peak);
    m_row.intervals.add(event.time);
}

} // namespace soundcheck
