#include "loopback/loop_result.h"

#include <algorithm>

namespace soundcheck {

std::string_view disturbanceName(DisturbanceKind kind) {
    switch (kind) {
    case DisturbanceKind::dropped:
        return "dropped";
    case DisturbanceKind::added:
        return "added";
    case DisturbanceKind::pop:
        break;
    }
    return "pop";
}

std::uint64_t LoopResult::framesOf(DisturbanceKind kind) const {
    std::uint64_t sum = 0;
    for (const Disturbance& disturbance : disturbances)
        if (disturbance.kind == kind)
            sum += disturbance.frames;
    return sum;
}

std::size_t LoopResult::count(DisturbanceKind kind) const {
    return static_cast<std::size_t>(
        std::count_if(disturbances.begin(), disturbances.end(),
                      [kind](const Disturbance& disturbance) { return disturbance.kind == kind; }));
}

bool LoopResult::swapped() const {
    return channels.size() >= 2 && channels[0].source == 1 && channels[1].source == 0;
}

} // namespace soundcheck
