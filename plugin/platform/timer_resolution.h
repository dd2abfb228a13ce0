#pragma once

#include <windows.h>

#include <mmsystem.h>

#include <cstdint>

namespace directsound {

/// Smallest period of the system timer in milliseconds, 0 if it cannot be read.
inline std::uint32_t smallestTimerPeriod() {
    TIMECAPS capabilities{};
    static_assert(sizeof(capabilities) == 8);
    return timeGetDevCaps(&capabilities, sizeof(capabilities)) == TIMERR_NOERROR ? capabilities.wPeriodMin : 0;
}

/// Holds the system timer at a period, in milliseconds; 0 leaves it alone.
class TimerResolution {
public:
    explicit TimerResolution(std::uint32_t period) : timerPeriod(period) {
        if (timerPeriod != 0)
            timeBeginPeriod(timerPeriod);
    }
    ~TimerResolution() {
        if (timerPeriod != 0)
            timeEndPeriod(timerPeriod);
    }
    TimerResolution(const TimerResolution&) = delete;
    TimerResolution& operator=(const TimerResolution&) = delete;

private:
    std::uint32_t timerPeriod;
};

} // namespace directsound
