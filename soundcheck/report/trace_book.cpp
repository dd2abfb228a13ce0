#include "report/trace_book.h"

namespace soundcheck {

DeviceTrace* TraceBook::begin(DeviceDirection direction, const std::string& id, const std::string& name) {
    const std::lock_guard lock(m_mutex);
    if (!m_keeps)
        return nullptr;
    const auto found = m_byDevice.find({direction, id});
    if (found == m_byDevice.end() && m_traces.size() == kMostDevices)
        return nullptr;
    DeviceTrace* const trace =
        found != m_byDevice.end() ? found->second : &m_traces.emplace_back(name, direction == ORVO_PLAYBACK);
    m_byDevice[{direction, id}] = trace;
    trace->begin();
    return trace;
}

std::vector<const DeviceTrace*> TraceBook::ended() const {
    const std::lock_guard lock(m_mutex);
    std::vector<const DeviceTrace*> traces;
    for (const DeviceTrace& trace : m_traces)
        if (trace.hasEnded())
            traces.push_back(&trace);
    return traces;
}

} // namespace soundcheck
