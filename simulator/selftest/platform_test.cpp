// The replaced functions answer as the system's do, and tell what is wrong.
#include "platform/world.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <mmsystem.h>
#include <objbase.h>

#include <stdexcept>

using namespace simulator;

namespace {

class Platform : public testing::Test {
protected:
    Platform() { setWorld(&m_World); }
    ~Platform() override { setWorld(nullptr); }

    // The function behind the DLL's import of this name.
    template <class Function>
    Function* function(const char* name, Function* /*same*/) {
        for (const Replacement& replacement : allFunctions()) {
            if (std::string_view(replacement.function) == name)
                return reinterpret_cast<Function*>(replacement.with);
        }
        throw std::runtime_error(name);
    }
    [[nodiscard]] std::vector<std::string> findings() const { return m_World.findings.all(); }

    World m_World;
};

#define REPLACED(name) function(#name, &(name))

using Texts = std::vector<std::string>;

} // namespace

TEST_F(Platform, TimerPeriodOutsideTheCaps_IsRefused) {
    m_World.system.timerMinimum = 4;
    m_World.scheduler.run([&] {
        EXPECT_EQ(REPLACED(timeBeginPeriod)(3), TIMERR_NOCANDO);
        EXPECT_EQ(REPLACED(timeBeginPeriod)(1'000'001), TIMERR_NOCANDO);
        EXPECT_EQ(REPLACED(timeBeginPeriod)(4), TIMERR_NOERROR);
        EXPECT_EQ(m_World.ledger.open(Kind::timerPeriod), 1u);
        EXPECT_EQ(REPLACED(timeEndPeriod)(4), TIMERR_NOERROR);
    });
    EXPECT_EQ(findings(), Texts{});
}

TEST_F(Platform, SecondComInitialization_SaysSo) {
    m_World.scheduler.run([&] {
        EXPECT_EQ(REPLACED(CoInitializeEx)(nullptr, COINIT_MULTITHREADED), S_OK);
        EXPECT_EQ(REPLACED(CoInitializeEx)(nullptr, COINIT_MULTITHREADED), S_FALSE);
        EXPECT_EQ(REPLACED(CoInitializeEx)(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
        EXPECT_EQ(m_World.ledger.open(Kind::comInitialization), 2u);
        REPLACED(CoUninitialize)();
        REPLACED(CoUninitialize)();
        EXPECT_EQ(REPLACED(CoInitializeEx)(nullptr, COINIT_APARTMENTTHREADED), S_OK) << "the thread is free again";
        REPLACED(CoUninitialize)();
        EXPECT_EQ(findings(), Texts{});
        REPLACED(CoUninitialize)();
    });
    EXPECT_EQ(findings(), Texts{"CoUninitialize on client, which did not initialize COM"});
}

TEST_F(Platform, WindowOfAnotherThread_IsNotDestroyed) {
    HWND window = nullptr;
    const auto create = [&] {
        window = REPLACED(CreateWindowExW)(0, L"BUTTON", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                           GetModuleHandleW(nullptr), nullptr);
    };
    m_World.scheduler.run([&] {
        create();
        m_World.scheduler.spawn("other", ThreadKind::client, [&] {
            EXPECT_FALSE(REPLACED(DestroyWindow)(window));
            EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
        });
        m_World.scheduler.spend(kMillisecond);
        EXPECT_EQ(m_World.ledger.open(Kind::window), 1u);
        EXPECT_TRUE(REPLACED(DestroyWindow)(window));
        EXPECT_FALSE(REPLACED(DestroyWindow)(window));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
    });
    const Texts expected{"DestroyWindow by other of a window of client",
                         "DestroyWindow of something that is no window"};
    EXPECT_EQ(findings(), expected);
}

TEST_F(Platform, VersionRecordOfUnknownSize_IsFound) {
    m_World.scheduler.run([&] {
        OSVERSIONINFOEXW version{};
        DWORDLONG conditions = 0;
        for (const DWORD part : {DWORD{VER_MAJORVERSION}, DWORD{VER_MINORVERSION}, DWORD{VER_SERVICEPACKMAJOR}})
            conditions = VerSetConditionMask(conditions, part, VER_GREATER_EQUAL);
        constexpr DWORD kParts = VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR;
        version.dwMajorVersion = 6;
        EXPECT_FALSE(REPLACED(VerifyVersionInfoW)(&version, kParts, conditions));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
        version.dwOSVersionInfoSize = sizeof(version);
        EXPECT_TRUE(REPLACED(VerifyVersionInfoW)(&version, kParts, conditions));
    });
    EXPECT_EQ(findings(), Texts{"VerifyVersionInfoW is not told the size of its record"});
}

TEST_F(Platform, ThreadWithMoreThanTheUsual_IsFound) {
    m_World.scheduler.run([&] {
        unsigned id = 0;
        const auto body = +[](void* /*unused*/) -> unsigned { return 0; };
        const std::uintptr_t thread = REPLACED(_beginthreadex)(nullptr, 65536, body, nullptr, 4, &id);
        REPLACED(CloseHandle)(reinterpret_cast<HANDLE>(thread));
    });
    const Texts expected{"_beginthreadex with a stack size is not simulated",
                         "_beginthreadex with flags is not simulated", "_beginthreadex with an id is not simulated"};
    EXPECT_EQ(findings(), expected);
}

TEST_F(Platform, ForgedHandle_IsFound) {
    m_World.scheduler.run([&] {
        const auto forged = reinterpret_cast<HANDLE>(std::uintptr_t{0x7A000000});
        EXPECT_FALSE(REPLACED(SetEvent)(forged));
        const HANDLE event = REPLACED(CreateEventW)(nullptr, TRUE, FALSE, nullptr);
        EXPECT_TRUE(REPLACED(SetEvent)(event));
        const auto beside = reinterpret_cast<HANDLE>(reinterpret_cast<std::uintptr_t>(event) + 4);
        EXPECT_EQ(REPLACED(WaitForSingleObject)(beside, 0), WAIT_FAILED);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
        EXPECT_TRUE(REPLACED(CloseHandle)(event));
    });
    const Texts expected{"SetEvent of a handle that was never made", "wait of a handle that was never made"};
    EXPECT_EQ(findings(), expected);
}

TEST_F(Platform, RealHandle_GoesToTheSystem) {
    const HANDLE real = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_World.scheduler.run([&] {
        EXPECT_TRUE(REPLACED(SetEvent)(real));
        EXPECT_EQ(REPLACED(WaitForSingleObject)(real, 0), WAIT_OBJECT_0);
        EXPECT_TRUE(REPLACED(CloseHandle)(real));
    });
    EXPECT_EQ(findings(), Texts{});
}

TEST_F(Platform, RulesHoldForBriefCalls) {
    m_World.scheduler.run([&] {
        m_World.script.on("timeGetTime").onCall(1).takes(7);
        EXPECT_EQ(REPLACED(timeGetTime)(), m_World.system.clockStart + 7);
        bool done = false;
        m_World.script.on("CoTaskMemFree").does([&] { done = true; });
        REPLACED(CoTaskMemFree)(nullptr);
        EXPECT_TRUE(done);
        m_World.script.on("fputs").failsWithError(ERROR_DISK_FULL);
        EXPECT_EQ(REPLACED(fputs)("text", stderr), EOF);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
        EXPECT_EQ(m_World.streams.error, "");
        m_World.script.on("calloc").onCall(1).fails();
        EXPECT_EQ(REPLACED(calloc)(1, 1), nullptr);
    });
    EXPECT_TRUE(m_World.script.calls("timeGetTime").empty()) << "a brief call is not recorded";
    EXPECT_EQ(m_World.script.count("timeGetTime"), 1u);
}

TEST_F(Platform, OrdinaryMemoryOfOtherThreads_IsTheirOwn) {
    void* block = REPLACED(malloc)(8); // not on a scheduled thread
    ASSERT_NE(block, nullptr);
    EXPECT_FALSE(m_World.heap.owns(block));
    REPLACED(free)(block);
}

TEST_F(Platform, SectionOfTheSimulationOnAnotherThread_EndsTheProcess) {
    CRITICAL_SECTION section{};
    m_World.scheduler.run([&] { REPLACED(InitializeCriticalSection)(&section); });
    EXPECT_DEATH(REPLACED(EnterCriticalSection)(&section),
                 "a thread that the simulation did not start calls EnterCriticalSection");
}

TEST_F(Platform, HandleOfTheSimulationOnAnotherThread_EndsTheProcess) {
    HANDLE event = nullptr;
    m_World.scheduler.run([&] { event = REPLACED(CreateEventW)(nullptr, TRUE, FALSE, nullptr); });
    EXPECT_DEATH(REPLACED(WaitForMultipleObjects)(1, &event, FALSE, 0),
                 "a thread that the simulation did not start calls WaitForMultipleObjects");
    EXPECT_DEATH(REPLACED(timeGetTime)(), "a thread that the simulation did not start calls timeGetTime");
}
