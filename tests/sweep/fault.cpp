#include "fault.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace sweep {
namespace {

constexpr std::string_view kErrorPrefix = "error-";
constexpr std::string_view kHexPrefix = "0x";

std::string words(const Code& code) {
    if (code.error)
        return std::string(kErrorPrefix).append(std::to_string(*code.error));
    if (!code.result)
        return "null";
    std::array<char, 20> text{};
    std::snprintf(text.data(), text.size(), "0x%08lX", static_cast<unsigned long>(*code.result));
    return text.data();
}

template <class Number>
std::optional<Number> parseNumber(std::string_view text, int base = 10) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::optional<Code> parseCode(std::string_view text) {
    if (text == "null")
        return Code{};
    if (text.starts_with(kErrorPrefix)) {
        const auto number = parseNumber<DWORD>(text.substr(kErrorPrefix.size()));
        return number ? std::optional(Code{{}, *number}) : std::nullopt;
    }
    if (!text.starts_with(kHexPrefix))
        return std::nullopt;
    const auto number = parseNumber<unsigned>(text.substr(kHexPrefix.size()), 16);
    return number ? std::optional(Code{static_cast<int>(*number), {}}) : std::nullopt;
}

// Cuts the text up to the separator off; all of it when there is none.
std::string_view cut(std::string_view& text, char separator) {
    const std::size_t at = std::min(text.find(separator), text.size());
    const std::string_view part = text.substr(0, at);
    text.remove_prefix(std::min(at + 1, text.size()));
    return part;
}

} // namespace

std::string words(const Fault& fault) {
    std::string text = fault.session + "/" + fault.call;
    if (!fault.subject.empty())
        text.append("@").append(fault.subject);
    return text.append("/")
        .append(std::to_string(fault.n))
        .append(fault.lasting ? "/lasting/" : "/once/")
        .append(words(fault.code));
}

std::optional<Fault> parseFault(std::string_view words) {
    Fault fault;
    fault.session = cut(words, '/');
    std::string_view target = cut(words, '/');
    fault.call = cut(target, '@');
    fault.subject = target;
    const auto n = parseNumber<unsigned>(cut(words, '/'));
    const std::string_view mode = cut(words, '/');
    const auto code = parseCode(words);
    if (fault.session.empty() || fault.call.empty() || !n || *n == 0 || !code ||
        (mode != "once" && mode != "lasting"))
        return std::nullopt;
    fault.n = *n;
    fault.lasting = mode == "lasting";
    fault.code = *code;
    return fault;
}

} // namespace sweep
