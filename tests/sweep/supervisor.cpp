#include "supervisor.h"

#include "progress.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace sweep {
namespace {

constexpr DWORD kLookMilliseconds = 1000;
constexpr unsigned kLooksWithoutProgress = 60; // no fault needs more than a fraction of a second

class Process {
public:
    // This program again, with these arguments and this one's streams.
    explicit Process(const std::string& arguments) {
        std::array<char, MAX_PATH> program{};
        GetModuleFileNameA(nullptr, program.data(), MAX_PATH);
        std::string command = std::string("\"").append(program.data()).append("\" ").append(arguments);
        STARTUPINFOA startup{};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION information{};
        if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                            &information))
            throw std::runtime_error("the process for the faults cannot be started");
        CloseHandle(information.hThread);
        m_Process = information.hProcess;
    }
    ~Process() { CloseHandle(m_Process); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] bool endedWithin(DWORD milliseconds) const {
        return WaitForSingleObject(m_Process, milliseconds) == WAIT_OBJECT_0;
    }
    void terminate() const {
        TerminateProcess(m_Process, 1);
        WaitForSingleObject(m_Process, INFINITE);
    }

private:
    HANDLE m_Process;
};

// False: it stood still and was ended.
bool endsByItself(const Process& process, const Progress& progress) {
    LONG seen = progress.next;
    unsigned looks = 0;
    while (!process.endedWithin(kLookMilliseconds)) {
        looks = progress.next == seen ? looks + 1 : 0;
        seen = progress.next;
        if (looks < kLooksWithoutProgress)
            continue;
        process.terminate();
        return false;
    }
    return true;
}

} // namespace

bool superviseSweep(const Session& session, std::size_t atMost) {
    const auto begin = std::chrono::steady_clock::now();
    SharedProgress progress("sweep-" + std::to_string(GetCurrentProcessId()) + "-" + std::string(session.name));
    const std::string arguments = "--session " + std::string(session.name) + " --at-most " + std::to_string(atMost) +
                                  " --progress " + progress.name();
    std::fflush(stdout);
    do {
        const LONG first = progress->next;
        const bool ended = endsByItself(Process(arguments), *progress);
        if (progress->busy == 0 && progress->next == first) {
            std::printf("FAILED %s: not even the clean run could be judged\n", arguments.c_str());
            return false;
        }
        if (progress->busy != 0) {
            std::printf("FAILED --fault \"%s\"\n    %s\n", progress->words.data(),
                        ended ? "the process crashed" : "the process hung");
            ++progress->failed;
            ++progress->next;
            progress->busy = 0;
        }
    } while (progress->next < progress->chosen);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("tally: sweep of %.*s: %ld calls, %ld faults, %ld tried, %ld failed, in %.1f s\n",
                static_cast<int>(session.name.size()), session.name.data(), progress->calls, progress->faults,
                progress->chosen, progress->failed, seconds.count());
    return progress->failed == 0;
}

} // namespace sweep
