// When the machine itself stood still, as a witness at its highest priority saw it (scripts/watch-machine). What is
// lost then is nobody's fault; what is lost at any other time is ours.
#pragma once

#include <chrono>
#include <istream>
#include <vector>

namespace live {

class MachineWatch {
public:
    using Clock = std::chrono::system_clock; // the one that programs of two systems share

    /// How long a pause may go on to be heard: it has to pass through the buffers of the whole road.
    static constexpr auto kAftermath = std::chrono::milliseconds(1500);

    /// What the witness of this bench has noted up to now. Throws when there is no witness.
    static MachineWatch read();
    /// Lines of "<from> <to> <processor>", in seconds.
    explicit MachineWatch(std::istream& notes);

    /// The machine stood still at this time, or so shortly before that it can still be heard.
    [[nodiscard]] bool disturbed(Clock::time_point time) const;

private:
    struct Pause {
        Clock::time_point from;
        Clock::time_point to;
    };
    std::vector<Pause> m_pauses;
};

} // namespace live
