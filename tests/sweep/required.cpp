// What failures leave behind, and what the simulator finds about them.
#include "required.h"

#include <algorithm>
#include <array>

namespace sweep {
namespace {

using simulator::Kind;

struct Left {
    std::string_view call;
    std::string_view subject; // its begin
    Remainder remainder;
};
constexpr std::array kLeft{
    Left{"CloseHandle", "E", {Kind::event, "the handle was not closed"}},
    Left{"CloseHandle", "T", {Kind::threadHandle, "the handle was not closed"}},
    Left{"DestroyWindow", "", {Kind::window, "the window was not destroyed"}},
    Left{"timeEndPeriod", "", {Kind::timerPeriod, "the period was not given back"}},
    Left{"QueryPerformanceFrequency", "", {Kind::comInitialization, "clients know the monitor to end so"}},
};

} // namespace

std::optional<Remainder> requiredRemainder(const Fault& fault) {
    const auto* found = std::ranges::find_if(
        kLeft, [&](const Left& left) { return left.call == fault.call && fault.subject.starts_with(left.subject); });
    return found == kLeft.end() ? std::nullopt : std::optional(found->remainder);
}

const char* requiredFinding(const Fault& fault) {
    // Whether the period was begun is not asked for.
    return fault.call == "timeBeginPeriod" ? "timeEndPeriod of 1 ms, which nobody began" : nullptr;
}

} // namespace sweep
