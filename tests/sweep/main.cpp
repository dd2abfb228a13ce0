// The fault sweep: every call of whole sessions fails in turn, and each time the plug-in must take it as it should.
#include "supervisor.h"
#include "worker.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>

namespace {

// Wine's debugger would take the program over, and its exit code would be 0.
LONG WINAPI endWithFailure(EXCEPTION_POINTERS* exception) {
    std::printf("exception %08lx at %p\n", exception->ExceptionRecord->ExceptionCode,
                exception->ExceptionRecord->ExceptionAddress);
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

struct Options {
    std::vector<std::string> sessions;
    std::size_t atMost = SIZE_MAX;
    std::string fault;
    std::string progress; // name of the watching process's memory
    bool list = false;
};

bool run(const Options& options) {
    using namespace sweep;
    if (!options.fault.empty())
        return replay(options.fault);
    bool good = true;
    for (const Session& session : sessions()) {
        if (!options.sessions.empty() && std::ranges::find(options.sessions, session.name) == options.sessions.end())
            continue;
        if (options.list)
            good = list(session) && good;
        else if (options.progress.empty())
            good = superviseSweep(session, options.atMost) && good;
        else
            good = runFaults(session, options.atMost, *SharedProgress(options.progress)) && good;
    }
    return good;
}

} // namespace

int main(int argc, char** argv) {
    SetUnhandledExceptionFilter(endWithFailure);
    try {
        Options options;
        CLI::App app{"Puts every possible fault into whole sessions of the plug-in on the simulator.", "sweep"};
        app.add_option("--session", options.sessions, "Only these sessions")->check([](const std::string& name) {
            return sweep::findSession(name) ? std::string() : "there is no session " + name;
        });
        app.add_option("--at-most", options.atMost, "About so many faults per session instead of all");
        app.add_option("--fault", options.fault, "Replays one fault and shows its run");
        app.add_option("--progress", options.progress)->group(""); // for the program's own use
        app.add_flag("--list", options.list, "Prints the words of the faults instead of trying them");
        CLI11_PARSE(app, argc, argv);
        return run(options) ? 0 : 1;
    } catch (const std::exception& error) {
        std::printf("sweep: %s\n", error.what());
        return 1;
    }
}
