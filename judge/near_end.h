// Whether an echo canceller leaves the near-end speaker alone.
//
// The measure: clean near-end speech is mixed into the last third of the microphone, its level over that third
// `gain` dB above the level of what the microphone has heard there. The canceller runs over the mixture. In the
// last third of its residual the clean near-end speech is looked for (up to 20 ms away), and the residual is
// projected on it: `survivingDecibels` is the level of that projection over the level that was mixed in (0 dB: all
// of it came through), `likeness` the correlation of the residual with the clean near-end speech (1: and nothing
// else).
#pragma once

#include "sound.h"

#include <cstddef>

namespace judge {

constexpr double kSurvivingDecibels = -6; ///< less of the near-end speech, and the reference does harm
constexpr double kSurvivingLikeness = 0.7;

struct NearEnd {
    Sound clean;           ///< as mixed in: silence up to the last third, as long as the microphone
    std::size_t first = 0; ///< begin of the last third
};

struct Survival {
    double survivingDecibels = 0;
    double likeness = 0;

    [[nodiscard]] bool survived() const;
};

/// Brings the speech (repeated when it is too short) into place and to its level.
NearEnd placeNearEnd(const Sound& speech, const Sound& microphone, double gainDecibels);

Sound mixed(const Sound& microphone, const NearEnd& nearEnd);

Survival survivalOf(const NearEnd& nearEnd, const Sound& residual);

} // namespace judge
