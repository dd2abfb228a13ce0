#pragma once

#include "orvosoundbackend.h"

#include <windows.h>

#include <string>

namespace directsound {

/// Joins the parts of an error report. An empty `name` is replaced by the code's number, an empty `text` left out.
[[nodiscard]] std::string joinErrorReport(BackendResult code, const std::string& name, const std::string& text,
                                          HRESULT hr);

/// The one form in which a failed DirectSound or COM call is reported: the code's text, ": ", the HRESULT's text and
/// the HRESULT in hexadecimal in parentheses.
[[nodiscard]] std::string errorReportLine(BackendResult code, HRESULT hr);

/// Sends an error report to the client's log at the error level, under the device's identifier. A report for which
/// there is no memory is dropped, so that the caller's result still gets through.
void logErrorReport(const BackendCallbacks& callbacks, const std::string& deviceId, BackendResult code,
                    HRESULT hr) noexcept;

/// Tells on standard error that COM could not be initialized on the calling thread.
void reportComFailure(HRESULT hr) noexcept;

} // namespace directsound
