#include "streams/interval_statistics.h"

#include <algorithm>
#include <cmath>

namespace soundcheck {
namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;
using Seconds = std::chrono::duration<double>;

} // namespace

void IntervalStatistics::add(Clock::time_point callback) {
    if (!m_begun) {
        m_begun = true;
        m_first = callback;
    } else if (m_last - m_first >= kSettledAfter) {
        count(m_last, callback - m_last);
    }
    m_last = callback;
}

void IntervalStatistics::count(Clock::time_point before, Clock::duration interval) {
    const double length = Milliseconds(interval).count();
    ++m_intervals;
    m_min = m_intervals == 1 ? length : std::min(m_min, length);
    m_max = std::max(m_max, length);
    const double distance = length - m_average; // the running form: no sum grows large, nothing is cancelled out
    m_average += distance / static_cast<double>(m_intervals);
    m_squares += distance * (length - m_average);
    ++m_histogram[std::min(kBins - 1, static_cast<std::size_t>(length))];

    if (interval > kLateAfter) {
        ++m_late;
        if (m_lateCallbacks.size() < kMaxLateKept)
            m_lateCallbacks.push_back({Seconds(before - m_first).count(), length});
    }
    if (interval >= kHurriedBelow) {
        m_burst = 0;
        return;
    }
    if (m_burst == 0) {
        ++m_bursts;
        m_burst = 1;
    }
    m_longestBurst = std::max(m_longestBurst, ++m_burst);
}

double IntervalStatistics::deviationMilliseconds() const {
    return m_intervals == 0 ? 0.0 : std::sqrt(m_squares / static_cast<double>(m_intervals));
}

} // namespace soundcheck
