#include "console/call_watch.h"

#include <utility>

namespace soundcheck {

// No stop_token: waiting on one together with a condition can hang in the GNU runtime of version 12, whose
// semaphore loses a wake-up on Windows.

CallWatch::CallWatch(std::string what, GiveUp giveUp, std::chrono::milliseconds limit)
    : m_what(std::move(what)), m_giveUp(std::move(giveUp)), m_limit(limit), m_thread([this] { watch(); }) {}

CallWatch::~CallWatch() {
    {
        const std::lock_guard lock(m_mutex);
        m_returned = true;
    }
    m_wakeUp.notify_one();
    m_thread.join();
}

void CallWatch::watch() {
    std::unique_lock lock(m_mutex);
    if (!m_wakeUp.wait_for(lock, m_limit, [this] { return m_returned; }))
        m_giveUp(m_what + " does not come to an end; soundcheck gives up.");
}

} // namespace soundcheck
