#include "commands/report.h"

#include "platform/text.h"

namespace soundcheck {

Summary& Summary::addWord(std::string_view name, std::string_view value) {
    m_text.append(" ").append(name).append("=").append(value);
    return *this;
}

Summary& Summary::add(std::string_view name, std::uint64_t value) {
    return addWord(name, std::to_string(value));
}

Summary& Summary::add(std::string_view name, double value, int decimals) {
    return addWord(name, fixedDecimals(value, decimals));
}

Summary& Summary::addQuoted(std::string_view name, std::string_view value) {
    std::string quoted = "\"";
    for (const char letter : value) {
        if (letter == '"' || letter == '\\')
            quoted += '\\';
        quoted += letter;
    }
    return addWord(name, quoted + "\"");
}

Summary& Summary::addLogCounts(const LogPrinter& log) {
    return add("log_errors", log.count(ORVO_LOG_ERROR))
        .add("log_warnings", log.count(ORVO_LOG_WARNING))
        .add("log_information", log.count(ORVO_LOG_INFORMATION));
}

void Checks::expect(bool condition, std::string_view sentence) {
    if (condition)
        return;
    m_failed = true;
    m_console.errorLine("soundcheck: " + std::string(sentence));
}

} // namespace soundcheck
