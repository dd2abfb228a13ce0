#include "commands/info.h"

#include "commands/session.h"
#include "platform/system_info.h"
#include "platform/text.h"

namespace soundcheck {

std::string InfoCommand::description() const {
    return "Tell about the plug-in and the system";
}

void InfoCommand::addOptions(CLI::App&) {}

ExitCode InfoCommand::run(const RunContext& context) {
    const Library library = loadLibrary(context);
    const BackendInfo& info = *library.exports().orvosoundbackend_getInfo();
    const std::filesystem::path file = library.path();
    const BackendResult supported = library.exports().orvosoundbackend_isSupported();

    Console& console = context.console;
    console.line(std::string("name            ") + info.name);
    console.line("numbers         " + std::to_string(info.firstNumber) + " " + std::to_string(info.secondNumber));
    console.line(std::string("supported       ") + (supported == 0 ? "yes" : "no"));
    console.line("library         " + pathText(file));
    console.line("library version " + fileVersion(file).value_or("none"));
    console.line("windows         " + windowsVersion());
    console.line("wine            " + wineVersion().value_or("no"));
    context.document.set(name(), {{"supported", supported == 0}, {"numbers", {info.firstNumber, info.secondNumber}}});
    library.check(supported, "The support check");
    return ExitCode::done;
}

} // namespace soundcheck
