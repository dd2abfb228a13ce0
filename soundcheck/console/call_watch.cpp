#include "console/call_watch.h"

#include "exit_code.h"

#include <cstdlib>
#include <utility>

namespace soundcheck {

CallWatch::CallWatch(Console& console, std::string what, std::chrono::milliseconds limit)
    : m_console(console), m_what(std::move(what)), m_limit(limit),
      m_thread([this](const std::stop_token& stop) { watch(stop); }) {}

void CallWatch::watch(const std::stop_token& stop) const {
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any wakeUp;
    // True when the destructor asked for the end, false when the time was up.
    if (wakeUp.wait_for(lock, stop, m_limit, [&stop] { return stop.stop_requested(); }))
        return;
    m_console.errorLine("soundcheck: " + m_what + " does not come to an end; soundcheck gives up.");
    std::_Exit(toInt(ExitCode::backendFailed));
}

} // namespace soundcheck
