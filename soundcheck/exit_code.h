/**
 * @file
 * How soundcheck ends: its exit codes, and the exception that carries one together with its sentence.
 */
#pragma once

#include <stdexcept>
#include <string>

namespace soundcheck {

enum class ExitCode : int {
    done = 0,           ///< everything went well
    checkFailed = 1,    ///< it ran, but something that was checked is wrong
    usage = 2,          ///< the command line is wrong
    backendFailed = 3,  ///< the plug-in, or its loading, failed; or a call into it hangs
    fileFailed = 4,     ///< a file cannot be read or written
    noSuchDevice = 5,   ///< the device that was asked for is not there, or more than one fits
    nothingChecked = 77 ///< there is no device, or Ctrl-C came too early: nothing was checked
};

constexpr int toInt(ExitCode code) {
    return static_cast<int>(code);
}

/** Ends the command with this code; `what()` is the sentence for standard error. */
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), m_code(code) {}
    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

/** Ctrl-C came before there was anything to judge: that is no success. */
class InterruptedTooEarly : public Failure {
public:
    InterruptedTooEarly()
        : Failure(ExitCode::nothingChecked, "It was interrupted before there was anything to judge.") {}
};

} // namespace soundcheck
