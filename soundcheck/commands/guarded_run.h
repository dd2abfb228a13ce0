/**
 * @file
 * Runs a command such that whatever it throws becomes a finding and an exit code. Also runs one within another. Main
 * thread.
 */
#pragma once

#include "commands/command.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace soundcheck {

/** Calls `run`; every exception is told as one sentence and gives an exit code. */
ExitCode runGuarded(const RunContext& context, const std::function<ExitCode()>& run);

struct InnerRun {
    ExitCode code = ExitCode::done;
    std::unique_ptr<Document> document;
};

/**
 * Runs another command without a word on the terminal. What it finds is in its own document, the plug-in's lines are
 * in the outer one, too; a call into the plug-in that hangs ends the outer run.
 * @param arguments as on a command line, beginning with the command's name; the common options are the outer run's
 */
InnerRun runInner(const RunContext& outer, std::vector<std::string> arguments);

} // namespace soundcheck
