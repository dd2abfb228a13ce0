/**
 * @file
 * The numbers at the end of a command, gathered once: as a line of text and as a section of the document.
 */
#pragma once

#include "report/document.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace soundcheck {

/** ` device="Speaker" blocks=500 ...`: names are never changed, only added. */
class Summary {
public:
    Summary& add(std::string_view name, std::uint64_t value);
    Summary& add(std::string_view name, double value, int decimals);
    /** Text that may hold blanks: in quotes. */
    Summary& addQuoted(std::string_view name, std::string_view value);
    Summary& addWord(std::string_view name, std::string_view value);

    const std::string& text() const { return m_text; }
    const Json& values() const { return m_values; }

private:
    Summary& append(std::string_view name, std::string_view text, Json value);

    std::string m_text;
    Json m_values = Json::object();
};

} // namespace soundcheck
