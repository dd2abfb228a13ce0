#include "streams/device_trace.h"

#include <algorithm>

namespace soundcheck {

SampleRange rangeOf(std::span<const std::int16_t> samples) {
    if (samples.empty())
        return {};
    const auto [low, high] = std::minmax_element(samples.begin(), samples.end());
    return {*low, *high};
}

SampleRange rangeOf(std::span<const std::uint8_t> samples) {
    if (samples.empty())
        return {};
    const auto [low, high] = std::minmax_element(samples.begin(), samples.end());
    const auto widened = [](std::uint8_t sample) { return static_cast<std::int16_t>((sample - 128) * 256); };
    return {widened(*low), widened(*high)};
}

void SignalTrace::add(TraceClock::time_point time, SampleRange range) {
    if (!m_columns.empty() && m_inLast < m_perColumn) {
        SampleRange& last = m_columns.back().range;
        last = {std::min(last.low, range.low), std::max(last.high, range.high)};
        ++m_inLast;
        return;
    }
    if (m_columns.size() == kColumns)
        halve();
    m_columns.push_back({time, range});
    m_inLast = 1;
}

void SignalTrace::halve() {
    for (std::size_t i = 0; i < kColumns / 2; ++i) {
        const Column& first = m_columns[2 * i];
        const Column& second = m_columns[2 * i + 1];
        m_columns[i] = {first.time,
                        {std::min(first.range.low, second.range.low), std::max(first.range.high, second.range.high)}};
    }
    m_columns.resize(kColumns / 2);
    m_perColumn *= 2;
}

IntervalTrace::IntervalTrace() {
    m_runs.reserve(kMostSpans);
    m_gaps.reserve(kMostSpans);
}

void IntervalTrace::begin() {
    m_running = false;
}

void IntervalTrace::add(TraceClock::time_point now) {
    if (!m_running) {
        m_running = true;
        if (m_runs.size() < kMostSpans)
            m_runs.push_back({now, now});
        else
            m_runs.back().to = now; // who opens a device so often looks at its numbers, not at a picture
        return;
    }
    const TraceClock::duration interval = now - m_runs.back().to;
    ++m_counts[std::min(static_cast<std::size_t>(std::max<TraceClock::rep>(interval / kBin, 0)), kBins - 1)];
    addGap({m_runs.back().to, now});
    m_runs.back().to = now;
}

void IntervalTrace::end(TraceClock::time_point stopped) {
    if (!m_running)
        return;
    addGap({m_runs.back().to, stopped});
    m_runs.back().to = std::max(m_runs.back().to, stopped);
    m_running = false;
}

void IntervalTrace::addGap(Span gap) {
    if (gap.to - gap.from > kGap && m_gaps.size() < kMostSpans)
        m_gaps.push_back(gap);
}

void DeviceTrace::begin() {
    m_ended.store(false, std::memory_order_release);
    m_intervals.begin();
}

void DeviceTrace::addBlock(TraceClock::time_point now, SampleRange range) {
    m_intervals.add(now);
    m_signal.add(now, range);
}

void DeviceTrace::end(TraceClock::time_point stopped) {
    m_intervals.end(stopped);
    m_ended.store(true, std::memory_order_release);
}

} // namespace soundcheck
