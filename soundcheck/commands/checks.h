/**
 * @file
 * What a command checks at its end. Main thread.
 */
#pragma once

#include "commands/run_context.h"
#include "exit_code.h"

#include <string_view>

namespace soundcheck {

/** Collects what is wrong; each finding is told at once. The first one gives the exit code. */
class Checks {
public:
    explicit Checks(const RunContext& context) : m_context(context) {}
    void expect(bool condition, std::string_view sentence, ExitCode otherwise = ExitCode::checkFailed);
    void fail(std::string_view sentence, ExitCode code = ExitCode::checkFailed);
    bool failed() const { return m_exitCode != ExitCode::done; }
    ExitCode exitCode() const { return m_exitCode; }

private:
    const RunContext& m_context;
    ExitCode m_exitCode = ExitCode::done;
};

} // namespace soundcheck
