#include "comparison.h"

#include "resampler.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace judge {
namespace {

constexpr double kWindowMilliseconds = 160;
constexpr double kHopMilliseconds = 20;
constexpr double kPieceMilliseconds = 10;    // the grain of "damaged"
constexpr double kSearchMilliseconds = 1000; // the longest loss that is followed
constexpr double kQuietOfLoudest = 0.03;     // a window below this part of the loudest one's level says nothing
constexpr double kSure = 0.9;                // likeness of a window that counts as found
constexpr double kClearlyBetter = 0.25;      // a new lag must leave at most this part of the old one's error
constexpr double kExact = 0.001;             // error of a window whose lag needs no second thought
constexpr std::size_t kWindowsOfSegment = 3; // a lag that fewer windows speak for is damage, not a jump
constexpr double kDamagedError = 0.25;       // part of a piece's energy that may differ

/// A stretch of the original that was heard in one go.
struct Segment {
    std::size_t first = 0; ///< begin of its first window
    std::size_t last = 0;  ///< begin of its last window
    Lag lag = 0;
    std::size_t windows = 0;
};

double error(double likeness) {
    return 1 - std::max(0.0, likeness);
}

double loudestWindow(const Sound& sound) {
    const std::size_t window = sound.frames(kWindowMilliseconds);
    double loudest = 0;
    for (std::size_t first = 0; first < sound.samples.size(); first += window)
        loudest = std::max(loudest, levelOf(sound.samples, first, window));
    return loudest;
}

/// Walks through the original window by window and follows the lag at which each was heard.
class Tracker {
public:
    Tracker(const Sound& original, const Samples& heard, Lag start)
        : m_said(original.samples), m_heard(heard), m_lag(start), m_window(original.frames(kWindowMilliseconds)),
          m_hop(original.frames(kHopMilliseconds)), m_reach(static_cast<Lag>(original.frames(kSearchMilliseconds))),
          m_quiet(loudestWindow(original) * kQuietOfLoudest) {}

    std::vector<Segment> walk() {
        for (std::size_t first = 0; first + m_window <= m_said.size(); first += m_hop) {
            if (levelOf(m_said, first, m_window) > m_quiet)
                look(first);
        }
        std::erase_if(m_segments, [](const Segment& segment) { return segment.windows < kWindowsOfSegment; });
        return joined();
    }

private:
    void look(std::size_t first) {
        const double stay = error(likenessAt(m_said, first, m_window, m_heard, m_lag));
        Match match{m_lag, 1 - stay, 0};
        if (stay > std::max(kExact, 2 * m_usual)) {
            const Match other = bestMatch(m_said, first, m_window, m_heard, m_lag - m_reach, m_lag + m_reach);
            if (error(other.likeness) < kClearlyBetter * stay)
                match = other;
        }
        if (match.likeness < kSure)
            return;
        m_usual = 0.9 * m_usual + 0.1 * error(match.likeness);
        if (m_segments.empty() || match.lag != m_lag)
            m_segments.push_back({first, first, match.lag, 0});
        m_lag = match.lag;
        m_segments.back().last = first;
        ++m_segments.back().windows;
    }

    /// Neighbours of the same lag are one, once the doubtful ones between them are gone.
    [[nodiscard]] std::vector<Segment> joined() const {
        std::vector<Segment> result;
        for (const Segment& segment : m_segments) {
            if (!result.empty() && result.back().lag == segment.lag) {
                result.back().last = segment.last;
                result.back().windows += segment.windows;
            } else {
                result.push_back(segment);
            }
        }
        return result;
    }

    const Samples& m_said;
    const Samples& m_heard;
    std::vector<Segment> m_segments;
    Lag m_lag;
    std::size_t m_window;
    std::size_t m_hop;
    Lag m_reach;
    double m_quiet;
    double m_usual = 0;
};

double heardAt(const Samples& heard, std::size_t position, Lag lag) {
    const Lag index = static_cast<Lag>(position) + lag;
    return index >= 0 && index < std::ssize(heard) ? heard[static_cast<std::size_t>(index)] : 0;
}

/// Between two segments: the frame at which changing from the one lag to the other explains best what was heard.
std::size_t placeOfJump(const Samples& said, const Samples& heard, double gain, const Segment& before,
                        const Segment& after, std::size_t window) {
    const std::size_t end = std::min(said.size(), after.first + window);
    const std::size_t lost = static_cast<std::size_t>(std::max<Lag>(0, before.lag - after.lag));
    const auto squaredError = [&](std::size_t position, Lag lag) {
        const double difference = heardAt(heard, position, lag) - gain * said[position];
        return difference * difference;
    };
    // cost(p) = error of [first, p) at the old lag + error of [p + lost, end) at the new one
    double cost = 0;
    for (std::size_t i = before.last + lost; i < end; ++i)
        cost += squaredError(i, after.lag);
    double lowest = cost;
    std::size_t place = before.last;
    for (std::size_t p = before.last; p + lost < end; ++p) {
        cost += squaredError(p, before.lag) - squaredError(p + lost, after.lag);
        if (cost < lowest) {
            lowest = cost;
            place = p + 1;
        }
    }
    return place;
}

/// For every frame of the original the lag at which it was heard, or kLost.
constexpr Lag kLost = std::numeric_limits<Lag>::min();

std::vector<Lag> lagOfFrames(std::size_t frames, const std::vector<Segment>& segments,
                             const std::vector<Jump>& jumps) {
    std::vector<Lag> lags(frames, segments.front().lag);
    for (std::size_t j = 0; j < jumps.size(); ++j) {
        const std::size_t lost = static_cast<std::size_t>(std::max<Lag>(0, -jumps[j].frames));
        for (std::size_t i = jumps[j].position; i < frames; ++i)
            lags[i] = i < jumps[j].position + lost ? kLost : segments[j + 1].lag;
    }
    return lags;
}

struct Sums {
    double product = 0, said = 0, heard = 0;
    [[nodiscard]] double likeness() const { return said * heard > 0 ? product / std::sqrt(said * heard) : 0; }
    [[nodiscard]] double gain() const { return said > 0 ? product / said : 0; }
};

Sums sumsOf(const Samples& said, const Samples& heard, const std::vector<Lag>& lags) {
    Sums sums;
    for (std::size_t i = 0; i < said.size(); ++i) {
        if (lags[i] == kLost)
            continue;
        const double there = heardAt(heard, i, lags[i]);
        sums.product += said[i] * there;
        sums.said += said[i] * said[i];
        sums.heard += there * there;
    }
    return sums;
}

std::vector<Damage> findDamage(const Sound& said, const Samples& heard, const std::vector<Lag>& lags, double gain) {
    const std::size_t piece = said.frames(kPieceMilliseconds);
    const double quiet = loudestWindow(said) * kQuietOfLoudest;
    std::vector<Damage> damages;
    for (std::size_t first = 0; first + piece <= said.samples.size(); first += piece) {
        double difference = 0;
        double energy = 0;
        for (std::size_t i = first; i < first + piece; ++i) {
            if (lags[i] == kLost)
                continue;
            const double wanted = gain * said.samples[i];
            const double there = heardAt(heard, i, lags[i]);
            difference += (there - wanted) * (there - wanted);
            energy += wanted * wanted;
        }
        // In a quiet piece only what would be heard is damage: the quiet level is the least that it is compared with.
        const double floor = gain * gain * quiet * quiet * static_cast<double>(piece);
        if (difference <= kDamagedError * std::max(energy, floor))
            continue;
        if (damages.empty() || damages.back().position + damages.back().frames < first)
            damages.push_back({first, 0});
        damages.back().frames += piece;
    }
    return damages;
}

/// The road may delay by parts of a frame (rate conversion does): the original is shifted as much, once.
double partOfFrame(const Sound& said, const Samples& heard, const Segment& segment) {
    const std::size_t count = segment.last - segment.first + said.frames(kWindowMilliseconds);
    return bestMatch(said.samples, segment.first, count, heard, segment.lag - 1, segment.lag + 1).fraction;
}

double gainOf(const Sound& said, const Samples& heard, const Segment& segment) {
    std::vector<Lag> lags(said.samples.size(), kLost);
    std::fill_n(lags.begin() + static_cast<Lag>(segment.first),
                segment.last - segment.first + said.frames(kWindowMilliseconds), segment.lag);
    return sumsOf(said.samples, heard, lags).gain();
}

} // namespace

bool Comparison::same() const {
    return found && lost == 0 && repeated == 0 && damaged == 0 && likeness >= kSameSoundLikeness;
}

Comparison compare(const Sound& original, const Sound& heard) {
    Comparison result;
    Sound said = resampled(original, heard.rate);
    const Lag start = bestMatch(said.samples, heard.samples).lag;
    const std::vector<Segment> segments = Tracker(said, heard.samples, start).walk();
    if (segments.empty())
        return result;

    const Segment& longest = *std::ranges::max_element(segments, {}, &Segment::windows);
    const double fraction = partOfFrame(said, heard.samples, longest);
    said.samples = delayedByFraction(said.samples, fraction);
    const double gain = gainOf(said, heard.samples, longest);
    for (std::size_t i = 1; i < segments.size(); ++i) {
        const Lag frames = segments[i].lag - segments[i - 1].lag;
        result.jumps.push_back({placeOfJump(said.samples, heard.samples, gain, segments[i - 1], segments[i],
                                            said.frames(kWindowMilliseconds)),
                                frames});
        (frames < 0 ? result.lost : result.repeated) += static_cast<std::size_t>(std::abs(frames));
    }
    const std::vector<Lag> lags = lagOfFrames(said.samples.size(), segments, result.jumps);
    const Sums sums = sumsOf(said.samples, heard.samples, lags);
    result.found = true;
    result.offsetFrames = static_cast<double>(segments[0].lag) + fraction;
    result.offsetMilliseconds = heard.milliseconds(result.offsetFrames);
    result.likeness = sums.likeness();
    result.gainDecibels = decibels(sums.gain());
    result.damages = findDamage(said, heard.samples, lags, sums.gain());
    for (const Damage& damage : result.damages)
        result.damaged += damage.frames;
    return result;
}

} // namespace judge
