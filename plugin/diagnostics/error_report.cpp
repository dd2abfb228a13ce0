#include "diagnostics/error_report.h"

#include "diagnostics/hresult_text.h"
#include "diagnostics/message.h"
#include "diagnostics/result_text.h"
#include "diagnostics/sinks.h"

#include <cstdlib>
#include <ios>

namespace directsound {

std::string joinErrorReport(BackendResult code, const std::string& name, const std::string& text, HRESULT hr) {
    const std::string nameOrNumber = name.empty() ? message("-", std::abs(code)) : name;
    const std::string hexadecimal = message(std::hex, std::showbase, static_cast<long>(hr));
    return text.empty() ? message(nameOrNumber, ": ", hexadecimal)
                        : message(nameOrNumber, ": ", text, " (", hexadecimal, ")");
}

std::string errorReportLine(BackendResult code, HRESULT hr) {
    return joinErrorReport(code, resultText(code), hresultText(hr), hr);
}

void logErrorReport(const BackendCallbacks& callbacks, const std::string& deviceId, BackendResult code,
                    HRESULT hr) noexcept {
    try {
        logMessage(callbacks, deviceId, errorReportLine(code, hr), LogLevel::Error);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // No memory for the line.
    }
}

void reportComFailure(HRESULT hr) noexcept {
    try {
        writeErrorLine(hresultText(hr));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // No memory for the line.
    }
}

} // namespace directsound
