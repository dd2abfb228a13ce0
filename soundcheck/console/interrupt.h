/**
 * @file
 * Ctrl-C, Ctrl-Break and the closing of the console window, turned into an orderly end: they set an event that the
 * commands wait on. A second Ctrl-C ends the program at once, in case that something does not come to its end.
 *
 * Thread: the system calls its handler on a thread of its own; the rest on the main thread. One object at a time.
 */
#pragma once

#include "platform/unique_handle.h"

#include <chrono>

namespace soundcheck {

class Interrupt {
public:
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();

    bool requested() const { return waitFor(std::chrono::milliseconds(0)); }
    /** Sleeps, but not longer than to the request. @return whether it was requested */
    bool waitFor(std::chrono::milliseconds time) const;
    /** What the handler does; also for tests. */
    void request();

private:
    static BOOL WINAPI handle(DWORD event);

    UniqueHandle m_requested;
    UniqueHandle m_ended; ///< set when the program has come to its orderly end
};

} // namespace soundcheck
