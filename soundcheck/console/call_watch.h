/**
 * @file
 * Notices when a call into the plug-in does not return. Some are never answered by
 * design (opening a capture device without any 48 kHz format), and nothing can be closed or finalized then: it is
 * for the owner to end the program.
 *
 * Made before the call and destroyed behind it, on the same thread; a thread of its own keeps the time.
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace soundcheck {

class CallWatch {
public:
    static constexpr auto kUsualLimit = std::chrono::seconds(15);

    /** Gets the sentence about the call that hangs, on the watch's thread. The call cannot be left meanwhile. */
    using GiveUp = std::function<void(std::string_view sentence)>;

    /** @param what begins the sentence: "Opening the device" */
    CallWatch(std::string what, GiveUp giveUp, std::chrono::milliseconds limit = kUsualLimit);
    CallWatch(const CallWatch&) = delete;
    CallWatch& operator=(const CallWatch&) = delete;
    ~CallWatch();

private:
    void watch();

    std::string m_what;
    GiveUp m_giveUp;
    std::chrono::milliseconds m_limit;
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    bool m_returned = false; ///< guarded by m_mutex
    std::thread m_thread;
};

} // namespace soundcheck
