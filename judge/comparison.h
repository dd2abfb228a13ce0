// Says how well what was heard is what was said.
#pragma once

#include "correlation.h"
#include "sound.h"

#include <string>
#include <vector>

namespace judge {

/// Below this the two are not the same sound, whatever the offset. Rate conversion on the road costs the least of it.
constexpr double kSameSoundLikeness = 0.98;

/// A place at which the heard sound leaves out frames of the original, or says more than it.
struct Jump {
    std::size_t position = 0; ///< frame of the original, at the heard sound's rate
    Lag frames = 0;           ///< positive: repeated or inserted before `position`; negative: lost from there on
};

/// Frames of the original that were heard in their place, but not as they were said.
struct Damage {
    std::size_t position = 0;
    std::size_t frames = 0;
};

/// All frame counts are at the heard sound's rate.
struct Comparison {
    bool found = false;      ///< the original was found at all; everything below is 0 when not
    double offsetFrames = 0; ///< where the original begins in the heard sound
    double offsetMilliseconds = 0;
    std::vector<Jump> jumps;
    std::vector<Damage> damages;
    std::size_t lost = 0;
    std::size_t repeated = 0;
    std::size_t damaged = 0; ///< in their place, but not the same (replaced by silence, for instance)
    double likeness = 0;     ///< correlation of all that was not lost, after alignment
    double gainDecibels = 0; ///< heard over said

    [[nodiscard]] bool same() const;
};

Comparison compare(const Sound& original, const Sound& heard);

} // namespace judge
