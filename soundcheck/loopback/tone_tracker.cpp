#include "loopback/tone_tracker.h"

#include "loopback/tone_model.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace soundcheck {
namespace {

/** Between two places where a clean window is looked for. */
constexpr std::size_t kStepsPerWindow = 8;

/** What happens so few windows before the end is left to the marks behind it. */
constexpr std::size_t kTooShort = 2;

/** Where the sines are clean again, and by how many frames they have moved. */
struct Relock {
    std::size_t window = 0;
    std::size_t frame = 0; ///< the first clean one
    double moved = 0;
};

/** @param from the frame that departs from what was expected */
std::optional<Relock> relock(const ToneModel& model, std::size_t from, std::size_t end) {
    const std::size_t step = model.windowFrames() / kStepsPerWindow;
    for (std::size_t window = from; window + model.windowFrames() <= end; window += step) {
        const std::vector<ToneFit> fits = model.fit(window);
        if (!model.isClean(fits))
            continue;
        Relock found{window, window, model.movedFrames(fits, window, window - from)};
        if (model.firstDeparture(window, window + model.windowFrames(), found.moved))
            continue;
        while (found.frame > from && !model.departs(found.frame - 1, found.moved))
            --found.frame;
        return found;
    }
    return std::nullopt;
}

Disturbance describe(std::size_t frame, long long moved, std::uint64_t spoilt) {
    const auto frames = static_cast<std::uint64_t>(std::abs(moved));
    if (moved == 0)
        return {DisturbanceKind::pop, frame, spoilt, 0, spoilt};
    return {moved < 0 ? DisturbanceKind::dropped : DisturbanceKind::added, frame, frames, 0, spoilt};
}

} // namespace

std::optional<ToneTrack> followTones(const LoopRecording& recording, const ProbeSignal& probe, std::size_t begin,
                                     std::size_t end) {
    end = std::min(end, recording.frames());
    ToneModel model(recording, probe);
    if (!model.lock(begin, end))
        return std::nullopt;

    ToneTrack track;
    track.begin = model.begin();
    double moved = 0;
    std::size_t position = track.begin;
    while (position + model.windowFrames() <= end) {
        const auto departure = model.firstDeparture(position, position + model.windowFrames());
        if (!departure) {
            model.update(position);
            position += model.windowFrames();
            continue;
        }
        const auto found = relock(model, *departure, end);
        if (!found) {
            position = *departure;
            if (end - position > kTooShort * model.windowFrames())
                track.disturbances.push_back(describe(position, 0, end - position));
            break;
        }
        const auto whole = std::llround(found->moved);
        track.disturbances.push_back(describe(*departure, whole, found->frame - *departure));
        model.move(found->window, found->moved);
        moved += static_cast<double>(whole);
        end = std::min(recording.frames(), end + static_cast<std::size_t>(whole));
        position = found->frame;
    }
    track.end = position;
    if (position > track.begin)
        track.driftPpm = (model.delayAt(position) - moved) / static_cast<double>(position - track.begin) * 1e6;
    track.tones = model.tones();
    return track;
}

} // namespace soundcheck
