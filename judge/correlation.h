// Finds a stretch of one sound in another.
#pragma once

#include <cstddef>
#include <vector>

namespace judge {

using Samples = std::vector<double>;
using Lag = std::ptrdiff_t;

struct Match {
    Lag lag = 0;         ///< frame n of the pattern's sound stands at n + lag in the other
    double likeness = 0; ///< normalized correlation there: 1 for the same up to a positive gain
    double fraction = 0; ///< the peak lies this part of a frame behind `lag` (-0.5 to 0.5)
};

/// Normalized correlation of `count` samples of `sound` from `first` with `other`, `lag` frames further on. What lies
/// outside `other` counts as silence.
double likenessAt(const Samples& sound, std::size_t first, std::size_t count, const Samples& other, Lag lag);

/// The lag between `lowest` and `highest` at which those samples are most alike.
Match bestMatch(const Samples& sound, std::size_t first, std::size_t count, const Samples& other, Lag lowest,
                Lag highest);

/// The lag at which the whole of `sound` is found best in `other`, wherever that is.
Match bestMatch(const Samples& sound, const Samples& other);

} // namespace judge
