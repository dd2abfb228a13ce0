#include "diagnostics/sinks.h"

#include <iostream>

namespace directsound {
namespace {

void writeLine(std::ostream& stream, std::string_view line) noexcept {
    try {
        stream << line << std::endl;
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Nobody is left to tell.
    }
}

} // namespace

void logMessage(const BackendCallbacks& callbacks, const std::string& category, const std::string& message,
                LogLevel level) {
    if (callbacks.logMessage != nullptr)
        callbacks.logMessage(callbacks.clientContext, category.c_str(), message.c_str(),
                             static_cast<std::int32_t>(level));
}

void writeErrorLine(std::string_view line) noexcept {
    writeLine(std::cerr, line);
}

void writeOutputLine(std::string_view line) noexcept {
    writeLine(std::cout, line);
}

} // namespace directsound
