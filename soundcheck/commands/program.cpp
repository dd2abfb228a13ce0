#include "commands/program.h"

#include "audio/sample_format.h"
#include "client/device_selection.h"
#include "client/errors.h"
#include "commands/command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <sstream>

namespace soundcheck {
namespace {

ExitCode tell(Console& console, ExitCode code, const std::exception& error) {
    console.errorLine(std::string("soundcheck: ") + error.what());
    return code;
}

ExitCode runCommand(Command& command, const RunContext& context) {
    try {
        return command.run(context);
    } catch (const Failure& error) {
        return tell(context.console, error.code(), error);
    } catch (const BackendError& error) {
        return tell(context.console, ExitCode::backendFailed, error);
    } catch (const LibraryError& error) {
        return tell(context.console, ExitCode::backendFailed, error);
    } catch (const SelectionError& error) {
        return tell(context.console, ExitCode::usage, error);
    } catch (const AudioFileError& error) {
        return tell(context.console, ExitCode::usage, error);
    } catch (const std::exception& error) { // memory or threads ran out
        context.console.errorLine(std::string("soundcheck: The system failed: ") + error.what() + ".");
        return ExitCode::checkFailed;
    }
}

void addCommonOptions(CLI::App& app, CommonOptions& options) {
    app.add_option("--dll", options.library,
                   "The plug-in to load; by default directsound_win64.dll beside soundcheck");
    const std::map<std::string, LogThreshold> levels = {{"none", LogThreshold::none},
                                                        {"error", LogThreshold::errors},
                                                        {"warning", LogThreshold::warnings},
                                                        {"information", LogThreshold::information}};
    app.add_option("--log", options.log, "Show the plug-in's log lines up to this level (default: warning)")
        ->transform(CLI::CheckedTransformer(levels, CLI::ignore_case))
        ->option_text("none|error|warning|information");
    app.fallthrough(); // the common options may stand behind the command, too
}

void printLines(const std::string& text, void (Console::*print)(std::string_view), Console& console) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        (console.*print)(line);
}

} // namespace

ExitCode runProgram(std::vector<std::string> arguments, Console& console, const Interrupt& interrupt) {
    CLI::App app("Tries a sound backend plug-in: lists its devices, plays, records, and checks what comes back.",
                 "soundcheck");
    CommonOptions options;
    addCommonOptions(app, options);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 a check failed, 2 wrong usage, 3 the plug-in failed, 77 no device.");

    Command* chosen = nullptr;
    const CommandList commands = makeCommands();
    for (const auto& command : commands) {
        CLI::App* const subcommand = app.add_subcommand(command->name(), command->description());
        command->addOptions(*subcommand);
        subcommand->callback([&chosen, wanted = command.get()] { chosen = wanted; });
    }

    try {
        std::reverse(arguments.begin(), arguments.end()); // the parser takes them from the back
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        std::ostringstream err;
        const int code = app.exit(error, out, err);
        printLines(out.str(), &Console::line, console);
        printLines(err.str(), &Console::errorLine, console);
        return code == 0 ? ExitCode::done : ExitCode::usage; // asking for help is no mistake
    }
    return runCommand(*chosen, {console, interrupt, options});
}

} // namespace soundcheck
