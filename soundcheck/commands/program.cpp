#include "commands/program.h"

#include "commands/command.h"
#include "commands/guarded_run.h"
#include "commands/options.h"
#include "platform/text.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <optional>
#include <sstream>

namespace soundcheck {
namespace {

ExitCode runCommand(Command& command, RunContext& context, std::optional<ReportFile>& report) {
    return runGuarded(context, [&] {
        if (const std::string& file = context.options.report; !file.empty()) {
            context.report = &report.emplace(toPath(file)); // a wrong name is told before anything runs
            context.document.traces().keep();
        }
        return command.run(context);
    });
}

void addCommonOptions(CLI::App& app, CommonOptions& options) {
    addPath(app, "--dll", "FILE.dll", options.library,
            "The plug-in to load; by default directsound_win64.dll beside soundcheck");
    const std::map<std::string, LogThreshold> levels = {{"none", LogThreshold::none},
                                                        {"error", LogThreshold::errors},
                                                        {"warning", LogThreshold::warnings},
                                                        {"information", LogThreshold::information}};
    app.add_option("--log", options.log, "Show the plug-in's log lines up to this level (default: warning)")
        ->transform(CLI::CheckedTransformer(levels, CLI::ignore_case))
        ->option_text("none|error|warning|information");
    addPath(app, "--report", "FILE.html", options.report,
            "Write a page with the verdict, pictures and numbers to this HTML file");
    app.add_flag("--json", options.json, "Write one JSON document to standard output, and nothing else");
    app.fallthrough(); // the common options may stand behind the command, too
}

void printLines(const std::string& text, Console& console) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        console.line(line);
}

/** Help, or what is wrong with the command line. */
ExitCode answerUsage(const CLI::App& app, const CLI::ParseError& error, Console& console, const Interrupt& interrupt,
                     const CommonOptions& options) {
    if (error.get_exit_code() == 0) { // asking for help is no mistake
        std::ostringstream help;
        app.exit(error, help, help);
        printLines(help.str(), console);
        return ExitCode::done;
    }
    const std::vector<CLI::App*> named = app.get_subcommands();
    const std::string command = named.empty() ? "" : named.front()->get_name();
    Document document(command);
    const RunContext context{console, interrupt, options, document};
    tellFinding(context, std::string(error.what()) + ".");
    console.errorLine("`soundcheck " + command + (command.empty() ? "" : " ") + "--help` tells what there is.");
    document.setEnded("failed");
    deliverDocument(context, ExitCode::usage);
    return ExitCode::usage;
}

} // namespace

ExitCode runProgram(std::vector<std::string> arguments, Console& console, const Interrupt& interrupt) {
    CLI::App app("Tries a sound backend plug-in: lists its devices, plays, records, and checks what comes back.",
                 "soundcheck");
    app.allow_windows_style_options(false); // a path may begin with a slash
    CommonOptions options;
    addCommonOptions(app, options);
    app.require_subcommand(0, 1); // none is told below: the library would say so of a wrong one, too
    app.footer("Exit codes: 0 done, 1 a check failed, 2 wrong usage, 3 the plug-in failed, 4 a file cannot be used,\n"
               "5 no such device, 77 nothing was checked. Each command has its own --help.");

    Command* chosen = nullptr;
    const CommandList commands = makeCommands();
    for (const auto& command : commands) {
        CLI::App* const subcommand = app.add_subcommand(command->name(), command->description());
        subcommand->footer(
            "Besides: --dll, --log, --report, --json; `soundcheck --help` explains them.\n\nExample:\n  soundcheck " +
            command->example());
        command->addOptions(*subcommand);
        subcommand->callback([&chosen, wanted = command.get()] { chosen = wanted; });
    }

    // Asked for here, too, as a wrong command line is answered with a document as well.
    options.json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
    try {
        std::reverse(arguments.begin(), arguments.end()); // the parser takes them from the back
        app.parse(std::move(arguments));
        if (chosen == nullptr)
            throw CLI::RequiredError("A command");
    } catch (const CLI::ParseError& error) {
        return answerUsage(app, error, console, interrupt, options);
    }
    Document document(chosen->name());
    RunContext context{console, interrupt, options, document};
    std::optional<ReportFile> report;
    if (options.json)
        console.keepForDocument();
    const ExitCode code = runCommand(*chosen, context, report);
    return deliverDocument(context, code);
}

} // namespace soundcheck
