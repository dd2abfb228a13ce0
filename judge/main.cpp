// judge: says whether what was heard is what was said, and whether an echo reference is one.
//
// Exit codes: 0 good, 1 judged bad, 2 wrong usage or a file that cannot be used.
#include "report.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

namespace {

using namespace judge;

constexpr int kGood = 0;
constexpr int kBad = 1;
constexpr int kUnusable = 2;

struct Arguments {
    std::string first;
    std::string second;
    std::string near;
    std::string residual;
    double nearGain = 0;
    CancellerSettings canceller;
    bool json = false;
};

int print(const std::string& text, bool good) {
    std::cout << text << '\n';
    return good ? kGood : kBad;
}

int runCompare(const Arguments& arguments) {
    const Sound heard = readSound(arguments.second);
    const Comparison comparison = compare(readSound(arguments.first), heard);
    return print(arguments.json ? toJson(comparison, heard.rate) : toText(comparison, heard.rate), comparison.same());
}

int runLag(const Arguments& arguments) {
    const LagReport lag = measureLag(readSound(arguments.first), readSound(arguments.second));
    return print(arguments.json ? toJson(lag) : toText(lag), lag.constant());
}

int runErle(const Arguments& arguments) {
    const Sound reference = readSound(arguments.first);
    Sound microphone = readSound(arguments.second);
    std::optional<NearEnd> nearEnd;
    if (!arguments.near.empty()) {
        nearEnd = placeNearEnd(readSound(arguments.near), microphone, arguments.nearGain);
        microphone = mixed(microphone, *nearEnd);
    }
    const Sound residual = residualOf(reference, microphone, arguments.canceller);
    if (!arguments.residual.empty())
        writeSound(arguments.residual, residual);

    const std::size_t last = nearEnd ? nearEnd->first : microphone.samples.size();
    ErleReport report{erle(reference, microphone, residual, arguments.canceller, microphone.samples.size() / 2, last),
                      arguments.canceller, std::nullopt};
    if (nearEnd)
        report.nearEnd = NearEndReport{arguments.nearGain, survivalOf(*nearEnd, residual)};
    return print(arguments.json ? toJson(report) : toText(report), report.good());
}

CLI::App* addCommand(CLI::App& app, Arguments& arguments, const char* name, const char* help, const char* first,
                     const char* second) {
    CLI::App* command = app.add_subcommand(name, help);
    command->add_option(first, arguments.first)->required()->check(CLI::ExistingFile);
    command->add_option(second, arguments.second)->required()->check(CLI::ExistingFile);
    command->add_flag("--json", arguments.json, "Print one JSON object");
    return command;
}

void addErleOptions(CLI::App& command, Arguments& arguments) {
    command.add_option("--shift", arguments.canceller.shiftMilliseconds,
                       "Delay the reference on purpose by these milliseconds");
    command.add_option("--frame", arguments.canceller.frame, "Frames per step of the canceller")
        ->check(CLI::Range(64, 9600))
        ->capture_default_str();
    command.add_option("--tail", arguments.canceller.tailMilliseconds, "The longest echo path in milliseconds")
        ->check(CLI::Range(10.0, 2000.0))
        ->capture_default_str();
    CLI::Option* near =
        command.add_option("--near", arguments.near, "Mix this speech into the last third")->check(CLI::ExistingFile);
    command.add_option("--near-gain", arguments.nearGain, "Its level over the microphone's, in dB")->needs(near);
    command.add_option("--residual", arguments.residual, "Write what the canceller leaves to this file");
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Judges recordings");
    app.require_subcommand(1);
    Arguments arguments;
    CLI::App* compareCommand =
        addCommand(app, arguments, "compare", "Is what was heard what was said?", "original", "heard");
    CLI::App* lagCommand = addCommand(app, arguments, "lag", "Does the echo reference keep its lag?", "echo", "mic");
    CLI::App* erleCommand =
        addCommand(app, arguments, "erle", "What does an echo canceller make of it?", "echo", "mic");
    addErleOptions(*erleCommand, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kGood : kUnusable;
    }
    try {
        if (*compareCommand)
            return runCompare(arguments);
        return *lagCommand ? runLag(arguments) : runErle(arguments);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return kUnusable;
    }
}
