// Brings a sound to another rate, and shifts it by parts of a sample.
#pragma once

#include "sound.h"

namespace judge {

/// The sound at another rate, with no delay added.
Sound resampled(const Sound& sound, int rate);

/// The samples `fraction` (-1 to 1) of a sample later, by a windowed sinc.
std::vector<double> delayedByFraction(const std::vector<double>& samples, double fraction);

} // namespace judge
