// Nothing that the plug-in calls goes past the simulator unless that is meant.
#include "platform/world.h"
#include "simulation.h"

#include <gtest/gtest.h>

#include <set>

using namespace simulator;

namespace {

// What may go to the real system, and why.
const std::set<std::string, std::less<>> kReal = {
    // Answers that are the same in a simulation: who and where one is, the thread's own error number.
    "GetCurrentThread",
    "GetCurrentThreadId",
    "GetCurrentProcess",
    "GetCurrentProcessId",
    "GetLastError",
    "SetLastError",
    "GetModuleHandleW",
    "VerSetConditionMask",
    // The start and end of the runtime, before and after the simulation.
    "GetSystemTimeAsFileTime",
    "GetTickCount64",
    "VirtualProtect",
    "VirtualQuery",
    "LoadLibraryW",
    "GetProcAddress",
    "_initterm",
    "_amsg_exit",
    "_lock",
    "_unlock",
    "__iob_func",
    "abort",
    "exit",
    "signal",
    "_errno",
    // Exceptions: the runtime throws and unwinds on the calling thread.
    "AddVectoredExceptionHandler",
    "RemoveVectoredExceptionHandler",
    "RaiseException",
    "RtlCaptureContext",
    "RtlLookupFunctionEntry",
    "RtlUnwindEx",
    "RtlVirtualUnwind",
    "__C_specific_handler",
    "_setjmp",
    "longjmp",
    "IsDebuggerPresent",
    "OutputDebugStringA",
    // The thread records of the runtime, with objects of their own that the simulator has no part in.
    "CreateEventA",
    "CreateSemaphoreA",
    "ReleaseSemaphore",
    "DuplicateHandle",
    "GetHandleInformation",
    "OpenProcess",
    "GetProcessAffinityMask",
    "SetProcessAffinityMask",
    "GetThreadContext",
    "SetThreadContext",
    "GetThreadPriority",
    "SuspendThread",
    "ResumeThread",
    "TlsAlloc",
    "TlsGetValue",
    "TlsSetValue",
    // Texts: no state, or the runtime's locale.
    "FormatMessageA",
    "IsDBCSLeadByteEx",
    "___lc_codepage_func",
    "___mb_cur_max_func",
    "localeconv",
    "setlocale",
    "_ultoa",
    "_vsnwprintf",
    "_strdup",
    "iswctype",
    "memchr",
    "memcmp",
    "memcpy",
    "memmove",
    "memset",
    "strcmp",
    "strcoll",
    "strerror",
    "strftime",
    "strlen",
    "strncmp",
    "strxfrm",
    "towlower",
    "towupper",
    "wcscoll",
    "wcsftime",
    "wcslen",
    "wcsncmp",
    "wcsxfrm",
    // Only in the runtime's own last words, and in its files, of which the plug-in has none.
    "fprintf",
    "printf",
    "vfprintf",
    "_read",
    "_close",
};

} // namespace

TEST(ImportTable, EveryImport_IsReplacedOrMeantToBeReal) {
    ImportTable table(besideProgram(L"directsound_win64.dll"));
    table.replace(allFunctions());
    std::set<std::string, std::less<>> replaced;
    for (const std::string& import : table.imports()) {
        const std::string function = import.substr(import.find('!') + 1);
        EXPECT_NE(table.isReplaced(function), kReal.contains(function)) << import;
        if (table.isReplaced(function))
            replaced.insert(function);
    }
    EXPECT_GT(replaced.size(), 50u);
    EXPECT_FALSE(table.isReplaced("memcpy"));
    EXPECT_FALSE(table.isReplaced("NoSuchFunction"));
}

TEST(ImportTable, DllThatIsNotThere_IsAnError) {
    EXPECT_THROW(ImportTable(L"no_such_file.dll"), std::runtime_error);
}
