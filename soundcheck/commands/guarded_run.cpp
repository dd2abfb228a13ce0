#include "commands/guarded_run.h"

#include "audio/sample_format.h"
#include "client/device_selection.h"
#include "client/errors.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <utility>

namespace soundcheck {
namespace {

ExitCode tell(const RunContext& context, ExitCode code, const std::string& sentence,
              std::string_view ended = "failed") {
    tellFinding(context, sentence);
    context.document.setEnded(ended);
    return code;
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

} // namespace

ExitCode runGuarded(const RunContext& context, const std::function<ExitCode()>& run) {
    try {
        return run();
    } catch (const InterruptedTooEarly& error) {
        return tell(context, error.code(), error.what(), "interrupted");
    } catch (const Failure& error) {
        return tell(context, error.code(), error.what());
    } catch (const BackendError& error) {
        return tell(context, ExitCode::backendFailed, error.what());
    } catch (const LibraryError& error) {
        return tell(context, ExitCode::backendFailed, error.what());
    } catch (const SelectionError& error) {
        return tell(context, ExitCode::noSuchDevice, error.what());
    } catch (const AudioFileError& error) {
        return tell(context, ExitCode::fileFailed, error.what());
    } catch (const std::exception& error) { // memory or threads ran out
        return tell(context, ExitCode::checkFailed, std::string("The system failed: ") + error.what() + ".");
    }
}

InnerRun runInner(const RunContext& outer, std::vector<std::string> arguments) {
    InnerRun inner{ExitCode::done, std::make_unique<Document>(arguments.front())};
    if (outer.report != nullptr)
        inner.document->traces().keep();
    const std::unique_ptr<std::FILE, CloseFile> nowhere(_wfopen(L"NUL", L"wb"));
    if (!nowhere)
        throw Failure(ExitCode::checkFailed, "The system has no place for what nobody wants to read.");
    Console console(nowhere.get(), nowhere.get());
    CommonOptions options;
    options.library = outer.options.library;
    options.log = LogThreshold::none;
    const RunContext context{console, outer.interrupt, options, *inner.document, nullptr, &outer};
    inner.code = runGuarded(context, [&] {
        const CommandList commands = makeCommands();
        const auto found = std::find_if(commands.begin(), commands.end(),
                                        [&](const auto& command) { return command->name() == arguments.front(); });
        if (found == commands.end())
            throw Failure(ExitCode::usage, "There is no command " + arguments.front() + ".");
        CLI::App app;
        (*found)->addOptions(app);
        arguments.erase(arguments.begin());
        std::reverse(arguments.begin(), arguments.end()); // the parser takes them from the back
        app.parse(std::move(arguments));
        return (*found)->run(context);
    });
    return inner;
}

} // namespace soundcheck
