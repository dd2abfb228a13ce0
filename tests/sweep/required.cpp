// What failures leave behind, and which of them may leave the client waiting.
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

struct Stuck {
    std::string_view call;
    const char* reason;
};
constexpr std::array kStuck{
    Stuck{"CoInitializeEx", "a worker without COM answers no command; without its monitor no device is closed"},
    Stuck{"QueryPerformanceCounter", "without its monitor no device is closed"},
    Stuck{"QueryPerformanceFrequency", "without its monitor no device is closed"},
    Stuck{"SetEvent", "who waits for an event that cannot be set waits for ever"},
};

} // namespace

std::optional<Remainder> requiredRemainder(const Fault& fault) {
    const auto* found = std::ranges::find_if(
        kLeft, [&](const Left& left) { return left.call == fault.call && fault.subject.starts_with(left.subject); });
    return found == kLeft.end() ? std::nullopt : std::optional(found->remainder);
}

const char* mayEndStuck(const Fault& fault) {
    const auto* found = std::ranges::find(kStuck, fault.call, &Stuck::call);
    return found == kStuck.end() ? nullptr : found->reason;
}

const char* requiredFinding(const Fault& fault) {
    // Whether the period was begun is not asked for.
    return fault.call == "timeBeginPeriod" ? "timeEndPeriod of 1 ms, which nobody began" : nullptr;
}

} // namespace sweep
