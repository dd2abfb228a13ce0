#include "report/summary.h"

#include "platform/text.h"

#include <cmath>
#include <utility>

namespace soundcheck {

Summary& Summary::append(std::string_view name, std::string_view text, Json value) {
    m_text.append(" ").append(name).append("=").append(text);
    m_values[std::string(name)] = std::move(value);
    return *this;
}

Summary& Summary::add(std::string_view name, std::uint64_t value) {
    return append(name, std::to_string(value), value);
}

Summary& Summary::add(std::string_view name, double value, int decimals) {
    const double scale = std::pow(10.0, decimals);
    return append(name, fixedDecimals(value, decimals), std::round(value * scale) / scale);
}

Summary& Summary::addQuoted(std::string_view name, std::string_view value) {
    std::string quoted = "\"";
    for (const char letter : value) {
        if (letter == '"' || letter == '\\')
            quoted += '\\';
        quoted += letter;
    }
    return append(name, quoted + "\"", value);
}

Summary& Summary::addWord(std::string_view name, std::string_view value) {
    return append(name, value, value);
}

} // namespace soundcheck
