/**
 * @file
 * What a command checks at its end. Main thread.
 */
#pragma once

#include "commands/run_context.h"
#include "exit_code.h"

#include <string_view>

namespace soundcheck {

/** Collects what is wrong; each finding is told at once. */
class Checks {
public:
    explicit Checks(const RunContext& context) : m_context(context) {}
    void expect(bool condition, std::string_view sentence);
    void fail(std::string_view sentence);
    bool failed() const { return m_failed; }
    ExitCode exitCode() const { return m_failed ? ExitCode::checkFailed : ExitCode::done; }

private:
    const RunContext& m_context;
    bool m_failed = false;
};

} // namespace soundcheck
