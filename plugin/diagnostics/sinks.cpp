#include "diagnostics/sinks.h"

#include <cstdio>

namespace directsound {
namespace {

// Not through the streams of the language: these need memory the first time that a thread writes, and the runtime ends
// the process when there is none.
void writeLine(std::FILE* stream, std::string_view line) noexcept {
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

} // namespace

void logMessage(const BackendCallbacks& callbacks, const std::string& category, const std::string& message,
                LogLevel level) {
    if (callbacks.logMessage != nullptr)
        callbacks.logMessage(callbacks.clientContext, category.c_str(), message.c_str(),
                             static_cast<std::int32_t>(level));
}

void writeErrorLine(std::string_view line) noexcept {
    writeLine(stderr, line);
}

void writeOutputLine(std::string_view line) noexcept {
    writeLine(stdout, line);
}

} // namespace directsound
