// A real echo canceller (SpeexDSP's) judges an echo reference: what it removes from the microphone with its help.
#pragma once

#include "sound.h"

#include <cstddef>

namespace judge {

struct CancellerSettings {
    std::size_t frame = 960;       ///< frames per step
    double tailMilliseconds = 300; ///< the longest echo path, the reference's lag included
    double shiftMilliseconds = 0;  ///< delays the reference on purpose; the judge must then object
};

/// A good reference allows more than this after convergence.
constexpr double kGoodErle = 20;

/// What the canceller leaves of the microphone.
Sound residualOf(const Sound& reference, const Sound& microphone, const CancellerSettings& settings);

/// Echo return loss enhancement from frame `first` to frame `last`: the microphone's energy over the residual's, in
/// dB, counted only over steps within whose echo path the reference speaks. 0 when it never speaks.
double erle(const Sound& reference, const Sound& microphone, const Sound& residual, const CancellerSettings& settings,
            std::size_t first, std::size_t last);

} // namespace judge
