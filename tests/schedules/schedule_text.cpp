#include "schedule_text.h"

#include <charconv>
#include <utility>

namespace schedules {
namespace {

constexpr std::string_view kUndisturbed = "none";
constexpr std::string_view kSeed = "seed ";

template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

// "3:1", added to the others. False when it is no such text, or names a choice again.
bool addSwitch(Switches& switches, std::string_view word) {
    const auto colon = word.find(':');
    if (colon == std::string_view::npos)
        return false;
    const auto choice = parseNumber<std::uint64_t>(word.substr(0, colon));
    const auto candidate = parseNumber<std::size_t>(word.substr(colon + 1));
    return choice && candidate && switches.emplace(*choice, *candidate).second;
}

} // namespace

std::string textOf(const Switches& switches) {
    std::string text;
    for (const auto& [choice, candidate] : switches)
        text.append(text.empty() ? "" : " ").append(std::to_string(choice) + ":" + std::to_string(candidate));
    return text.empty() ? std::string(kUndisturbed) : text;
}

std::unique_ptr<simulator::Policy> policyFrom(std::string_view text) {
    if (text == kUndisturbed)
        return simulator::forcedSwitches({});
    if (text.starts_with(kSeed)) {
        const auto seed = parseNumber<std::uint64_t>(text.substr(kSeed.size()));
        return seed ? simulator::randomSchedule(*seed) : nullptr;
    }
    Switches switches;
    for (bool more = true; more;) {
        const std::size_t space = text.find(' ');
        if (!addSwitch(switches, text.substr(0, space)))
            return nullptr;
        more = space != std::string_view::npos;
        text.remove_prefix(more ? space + 1 : text.size());
    }
    return simulator::forcedSwitches(std::move(switches));
}

} // namespace schedules
