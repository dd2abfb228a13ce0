/**
 * @file
 * Ends the program with a sentence when a call into the plug-in does not return. Some are never answered by
 * design (opening a capture device without any 48 kHz format), and nothing can be closed or finalized then.
 *
 * Made before the call and destroyed behind it, on the same thread; a thread of its own keeps the time.
 */
#pragma once

#include "console/console.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace soundcheck {

class CallWatch {
public:
    static constexpr auto kUsualLimit = std::chrono::seconds(15);

    /** @param what begins the sentence: "Opening the device" */
    CallWatch(Console& console, std::string what, std::chrono::milliseconds limit = kUsualLimit);
    CallWatch(const CallWatch&) = delete;
    CallWatch& operator=(const CallWatch&) = delete;
    ~CallWatch();

private:
    void watch();

    Console& m_console;
    std::string m_what;
    std::chrono::milliseconds m_limit;
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    bool m_returned = false; ///< guarded by m_mutex
    std::thread m_thread;
};

} // namespace soundcheck
