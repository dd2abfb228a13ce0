/**
 * @file
 * The program without its entry point: from the arguments to the exit code.
 */
#pragma once

#include "console/console.h"
#include "console/interrupt.h"
#include "exit_code.h"

#include <string>
#include <vector>

namespace soundcheck {

/**
 * Parses the command line, runs the command, tells every failure as one sentence on standard error.
 * @param arguments in UTF-8, without the program's name
 */
ExitCode runProgram(std::vector<std::string> arguments, Console& console, const Interrupt& interrupt);

} // namespace soundcheck
