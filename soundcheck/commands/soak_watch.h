/**
 * @file
 * One device in the soak: its stream's notes become numbers, and a device that stands still is noticed. Main thread.
 */
#pragma once

#include "commands/device_pick.h"
#include "commands/soak_row.h"
#include "streams/noting_streams.h"
#include "streams/stall_watch.h"

#include <string>

namespace soundcheck {

class SoakWatch {
public:
    using Clock = StallWatch::Clock;

    explicit SoakWatch(const PickedDevice& device);

    /** Begins to watch; `stream` outlives this object. */
    void begin(NotingStream& stream, Clock::time_point now);
    /** The device is a capture device with an echo association. */
    void expectReference() { m_row.associated = true; }
    /** The device did not open or start. */
    void fail() { m_row.state = SoakState::failed; }

    /** Reckons what has come. @return what is to be told now; usually empty */
    std::string update(Clock::time_point now);

    bool runs() const { return m_stream != nullptr && m_row.state != SoakState::failed; }
    /** Nothing has come for so long that waiting is of no use. */
    bool givenUp(Clock::time_point now) const { return !runs() || m_stall.givenUp(now); }
    /** Notes were lost: this program, not the device, was too slow. */
    std::uint64_t lostNotes() const { return m_stream != nullptr ? m_stream->events().lost() : 0; }
    const SoakRow& row() const { return m_row; }

private:
    void take(const BlockEvent& event);

    SoakRow m_row;
    NotingStream* m_stream = nullptr;
    StallWatch m_stall{Clock::time_point()};
};

} // namespace soundcheck
