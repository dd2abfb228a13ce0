/**
 * @file
 * Waiting while devices run: looks for the end, for Ctrl-C and for devices that stand still, and draws the
 * progress line. Main thread.
 */
#pragma once

#include "commands/command.h"
#include "streams/block_clock.h"
#include "streams/stall_watch.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace soundcheck {

enum class Ending { complete, interrupted, gaveUp };

std::string_view endingName(Ending ending);

/** What is told of a device that stands still, without what is done about it. */
std::string stallSentence(const std::string& device, bool begun);

/** What the user can do about it. */
inline constexpr std::string_view kStallAdvice =
    " Closing and opening it again may help (--reopen of play, record and talk).";

class Supervision {
public:
    explicit Supervision(const RunContext& context) : m_context(context) {}

    /** What to do about a device that stands still. @return whether it runs again; otherwise the run is given up */
    using Remedy = std::function<bool()>;

    /** Watches a running device; `clock` outlives this object. Without a remedy a stall is only told. */
    void watch(const BlockClock& clock, std::string deviceName, Remedy remedy = {});

    /**
     * @param done asked about twenty times a second
     * @param progress the text of the progress line; only asked on a terminal
     */
    Ending run(const std::function<bool()>& done, const std::function<std::string()>& progress);

    /** Whether every device has asked for or delivered a block. */
    bool allBegan() const;
    /** How often a device stood still. */
    int stalls() const;

private:
    struct Watched {
        const BlockClock* clock;
        std::string name;
        StallWatch stall;
        Remedy remedy;
    };

    /** @return whether waiting on is of use */
    bool look(Watched& watched);

    const RunContext& m_context;
    std::vector<Watched> m_watched;
};

} // namespace soundcheck
