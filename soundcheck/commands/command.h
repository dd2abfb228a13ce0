/**
 * @file
 * What a subcommand is. Each one is a class in a file of its own; commands/registry.cpp lists them.
 */
#pragma once

#include "commands/run_context.h"
#include "exit_code.h"

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace soundcheck {

class Command {
public:
    Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command() = default;

    virtual std::string name() const = 0;
    virtual std::string description() const = 0;
    /** A command line for the help, without the program's name. */
    virtual std::string example() const = 0;
    /** Adds the command's own options; what they write to belongs to the command. */
    virtual void addOptions(CLI::App& app) = 0;
    /** Runs with the parsed options. Any exception is told as one sentence and gives an exit code. */
    virtual ExitCode run(const RunContext& context) = 0;
};

using CommandList = std::vector<std::unique_ptr<Command>>;

/** All commands, in the order in which the help lists them. */
CommandList makeCommands();

} // namespace soundcheck
