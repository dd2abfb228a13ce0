// How far an echo reference runs ahead of the microphone, and whether that stays so.
#pragma once

#include "sound.h"

#include <cstddef>

namespace judge {

/// An echo canceller follows an echo path, not a lag that moves: more than this and the reference is no reference.
constexpr double kConstantLagMilliseconds = 1.0;

/// The plug-in's queue of played blocks finds its depth in the first moments: a jitter that it cannot yet take costs a
/// block, and the reference slips by 20 ms. What counts is the lag afterwards.
constexpr double kSettlingMilliseconds = 2000;

/// A window in which the reference is found worse than this says nothing about the lag.
constexpr double kSureOfLag = 0.8;

struct LagReport {
    double milliseconds = 0; ///< of the whole; positive: the microphone hears it later than the reference says it
    double spreadMilliseconds = 0;   ///< largest less smallest over the windows, once settled
    double settlingMilliseconds = 0; ///< the same over all windows
    double likeness = 0;             ///< correlation of the whole at that lag
    std::size_t windows = 0;         ///< windows in which the reference speaks, once settled
    std::size_t unsure = 0;          ///< those of them in which it is not found in the microphone

    [[nodiscard]] bool constant() const;
};

/// Searches every window anew within a second around nothing that an earlier one has found.
LagReport measureLag(const Sound& reference, const Sound& microphone);

} // namespace judge
