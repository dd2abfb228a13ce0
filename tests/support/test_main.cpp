// The main program of all test programs.

#include <windows.h>

#include <gmock/gmock.h>

#include <cstdio>

namespace {

// A crash must fail the run: without this, Wine's debugger takes the program over and its exit code is 0.
LONG WINAPI endWithFailure(EXCEPTION_POINTERS* exception) {
    std::printf("[  CRASHED ] exception %08lx\n", exception->ExceptionRecord->ExceptionCode);
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

int main(int argc, char** argv) {
    SetUnhandledExceptionFilter(endWithFailure);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
