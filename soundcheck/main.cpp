/**
 * @file
 * Entry point of soundcheck. The arguments come in UTF-16, so that any file and device name gets through.
 */
#include "commands/program.h"
#include "platform/text.h"

#include <cstdio>
#include <exception>

// The GNU linker looks for it by this name; the declaration keeps the compiler's warnings about strays quiet.
extern "C" int wmain(int argc, wchar_t** argv);

int wmain(int argc, wchar_t** argv) {
    try {
        std::vector<std::string> arguments;
        for (int i = 1; i < argc; ++i)
            arguments.push_back(soundcheck::toUtf8(argv[i]));
        soundcheck::Console console;
        const soundcheck::Interrupt interrupt;
        return toInt(soundcheck::runProgram(std::move(arguments), console, interrupt));
    } catch (const std::exception& error) { // only what the set-up above throws
        std::fprintf(stderr, "soundcheck: %s\n", error.what());
        return toInt(soundcheck::ExitCode::checkFailed);
    }
}
