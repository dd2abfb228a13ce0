#pragma once

#include "orvosoundbackend.h"

#include <string>
#include <string_view>

namespace directsound {

enum class LogLevel : std::int32_t {
    Error = ORVO_LOG_ERROR,
    Warning = ORVO_LOG_WARNING,
    Information = ORVO_LOG_INFORMATION,
};

// A sink never fails visibly: what cannot be written is dropped. Any thread; no lock is taken.

/// Hands a message to the client's log, if it has one. `category` is a device identifier or empty.
void logMessage(const BackendCallbacks& callbacks, const std::string& category, const std::string& message,
                LogLevel level);

/// One line on standard error: failures of the system layer, where no callback table is at hand.
void writeErrorLine(std::string_view line) noexcept;

/// One line on standard output.
void writeOutputLine(std::string_view line) noexcept;

} // namespace directsound
