// The face, with the plug-in: what a simulation needs, what it does not survive, and what it tells in the end.
#include "client.h"
#include "simulation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <thread>

using namespace simulator;

namespace {

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

// How many problems of the report contain the text.
std::ptrdiff_t found(const Report& report, std::string_view part) {
    return std::ranges::count_if(report.problems,
                                 [&](const std::string& problem) { return contains(problem, part); });
}

std::string reasonOfRefusal(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "none";
}

// A client that comes and goes as it should.
Report ordinaryRun(Simulation& sim) {
    Client client(sim);
    return sim.run([&] {
        client.initialize();
        client.finalize();
    });
}

} // namespace

// --- threads ---

TEST(SimulationThreads, ExportOnAThreadOfTheClientsOwn_EndsTheProcessWithAMessage) {
    const auto lockElsewhere = [] {
        Simulation sim;
        Client client(sim);
        sim.run([&] {
            client.initialize();
            std::thread([&] { sim.exports().orvosoundbackend_lockDSP(client.backend); }).join();
        });
    };
    EXPECT_DEATH(lockElsewhere(), "a thread that the simulation did not start calls EnterCriticalSection");
}

TEST(SimulationThreads, ExportOutsideTheRun_EndsTheProcessWithAMessage) {
    const auto initializeOutside = [] {
        Simulation sim;
        Client client(sim);
        client.initialize();
    };
    EXPECT_DEATH(initializeOutside(), "a thread that the simulation did not start calls time");
    const auto checkOutside = [] {
        const Simulation sim;
        sim.exports().orvosoundbackend_isSupported();
    };
    EXPECT_DEATH(checkOutside(), "a thread that the simulation did not start calls DirectSound");
    EXPECT_DEATH(Simulation().advance(1), "a thread that the simulation did not start calls a wait");
}

TEST(SimulationThreads, ExceptionOutOfTheScenario_IsReportedAndEndsTheRun) {
    {
        Simulation sim;
        Client client(sim);
        const Report report = sim.run([&] {
            client.initialize(); // its monitor is there still
            throw std::runtime_error("the reason");
        });
        EXPECT_EQ(report.ended, Scheduler::Ended::exception);
        EXPECT_EQ(found(report, "an exception left thread client: the reason"), 1);
    }
    Simulation next;
    EXPECT_EQ(ordinaryRun(next).problems, std::vector<std::string>{});
}

TEST(SimulationThreads, ExceptionOutOfAClientThread_IsReportedAndEndsTheRun) {
    Simulation sim;
    const Report report = sim.run([&] {
        sim.thread("tender", [] { throw 1; });
        sim.advance(1000);
        ADD_FAILURE() << "the run went on";
    });
    EXPECT_EQ(report.ended, Scheduler::Ended::exception);
    EXPECT_EQ(found(report, "an exception left thread tender: something that is no std::exception"), 1);
}

TEST(SimulationThreads, FinalizeOnAnotherThreadThanInitialize_IsFound) {
    Simulation sim;
    Client client(sim);
    sim.expectLeft(Kind::window, 1);
    const Report report = sim.run([&] {
        client.initialize();
        sim.thread("second", [&] { client.finalize(); });
    });
    EXPECT_EQ(found(report, "DestroyWindow by second of a window of client"), 1) << report.text();
}

TEST(SimulationThreads, TenDevicesAtOnce_AreNoTrouble) {
    Simulation sim;
    sim.threadsAtOnce(11); // the devices' and the monitor
    Client client(sim);
    std::vector<const Device*> devices;
    for (int i = 0; i < 10; ++i)
        devices.push_back(&sim.playback("Speaker " + std::to_string(i)));
    const Report report = sim.run([&] {
        client.initialize();
        for (const Device* device : devices)
            EXPECT_EQ(client.open(*device).result, 0);
        sim.advance(100);
        client.closeAndFinalize(devices);
    });
    EXPECT_EQ(report.problems, std::vector<std::string>{}) << report.text();
}

TEST(SimulationThreads, MoreThreadsThanExpected_LeaveWhatTheRuntimeKeeps_WithAHint) {
    // Ten threads that are inside the plug-in at once, each after an exception there.
    const auto tenThreads = [](Simulation& sim) {
        const BackendCallbacks none{};
        unsigned there = 0;
        return sim.run([&] {
            for (int i = 0; i < 10; ++i) {
                sim.thread("tender", [&] {
                    DirectSoundBackend* backend = nullptr;
                    sim.on("malloc").onCall(1).fails();
                    sim.exports().orvosoundbackend_initialize(&backend, &none);
                    EXPECT_EQ(backend, nullptr);
                    ++there;
                    sim.scheduler().wait(kNever, [&] { return there == 10; });
                });
            }
        });
    };
    {
        Simulation sim;
        sim.threadsAtOnce(10);
        EXPECT_EQ(tenThreads(sim).problems, std::vector<std::string>{});
    }
    Simulation sim;
    const Report report = tenThreads(sim);
    EXPECT_EQ(found(report, "as there were 11 threads: see threadsAtOnce()"), 1) << report.text();
}

// --- the schedule ---

TEST(SimulationSchedule, Invariants_AreAllChecked_AndEachIsReportedOnce) {
    Simulation sim;
    bool begun = false;
    bool early = false;
    int checks = 0;
    sim.invariant([&] {
        early = early || !begun;
        EXPECT_NE(Scheduler::current(), nullptr);
        ++checks;
        return std::string("first broken");
    });
    sim.invariant([&]() -> std::string { return sim.now() >= 5 ? "second broken" : ""; });
    int others = 0;
    sim.invariant([&] {
        EXPECT_NE(Scheduler::current(), nullptr);
        return ++others, std::string();
    });
    const Report report = sim.run([&] {
        begun = true;
        sim.thread("short", [&] { sim.advance(2); }); // its end is a step, too
        sim.advance(4);
        sim.advance(4);
        sim.advance(4);
    });
    EXPECT_FALSE(early) << "it was checked before the scenario began";
    EXPECT_EQ(checks, 1);
    EXPECT_GE(others, 4);
    EXPECT_EQ(found(report, "first broken"), 1);
    EXPECT_EQ(found(report, "second broken"), 1);
}

TEST(SimulationSchedule, ReplayThatDoesNotFit_IsFound) {
    Simulation sim;
    sim.forceSwitches({{1'000'000, 1}});
    const Report report = ordinaryRun(sim);
    EXPECT_EQ(found(report, "the schedule does not fit the run: the forced switch 1000000:1, which never came"), 1);
}

// --- loading ---

TEST(SimulationLoading, SecondSimulation_IsRefused) {
    Simulation first;
    EXPECT_THROW(Simulation(), std::logic_error);
    EXPECT_EQ(ordinaryRun(first).problems, std::vector<std::string>{}) << "the first one took no harm";
}

TEST(SimulationLoading, SecondRun_IsRefused_AndSoAreExportsAfterTheRun) {
    Simulation sim;
    ordinaryRun(sim);
    EXPECT_THROW(sim.run([] {}), std::logic_error);
    EXPECT_THROW(static_cast<void>(sim.exports()), std::logic_error);
}

TEST(SimulationLoading, DllThatIsLoadedAlready_IsRefused) {
    const HMODULE held = LoadLibraryW(besideProgram(L"directsound_win64.dll").c_str());
    ASSERT_NE(held, nullptr);
    EXPECT_TRUE(contains(reasonOfRefusal([] { const Simulation sim; }), "is loaded already"));
    FreeLibrary(held);
    EXPECT_EQ(reasonOfRefusal([] { const Simulation sim; }), "none");
}

TEST(SimulationLoading, DllThatStaysLoaded_IsFoundAndMayStillUseItsMemory) {
    HMODULE held = nullptr;
    orvosoundbackend_initialize_fn initialize = nullptr;
    DirectSoundBackend* backend = nullptr;
    {
        Simulation sim;
        Client client(sim);
        const Report report = sim.run([&] {
            held = LoadLibraryW(L"directsound_win64.dll");
            initialize = sim.exports().orvosoundbackend_initialize;
            client.initialize();
            backend = client.backend;
            sim.advance(10);
            sim.kernel().allowOwnedAtRemoval(0);
        });
        EXPECT_EQ(found(report, "the DLL is still loaded at the end"), 1) << report.text();
    }
    EXPECT_NE(GetModuleHandleW(L"directsound_win64.dll"), nullptr);
    EXPECT_NE(GuardHeap::readableOfKept(backend), 0u);
    EXPECT_EQ(*reinterpret_cast<volatile char*>(backend), *reinterpret_cast<volatile char*>(backend));
    FreeLibrary(held); // its clean-up frees what it took from the heap that is gone
    EXPECT_EQ(GetModuleHandleW(L"directsound_win64.dll"), nullptr);
    Simulation next;
    EXPECT_EQ(ordinaryRun(next).problems, std::vector<std::string>{});
}

TEST(SimulationLoading, DllThatAnEndedThreadHolds_IsLoadedAnewNextTime) {
    {
        Simulation sim;
        const Report report = sim.run([&] {
            LoadLibraryW(L"directsound_win64.dll");
            sim.scheduler().wait(kNever);
        });
        EXPECT_EQ(report.ended, Scheduler::Ended::deadlock);
    }
    EXPECT_EQ(GetModuleHandleW(L"directsound_win64.dll"), nullptr);
}

TEST(SimulationLoading, OtherCopyOfTheDll_IsFound) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "simulation_test";
    const std::filesystem::path copy = folder / "directsound_win64.dll";
    std::filesystem::create_directories(folder);
    std::filesystem::copy_file(besideProgram(L"directsound_win64.dll"), copy,
                               std::filesystem::copy_options::overwrite_existing);
    HMODULE held = nullptr;
    Report report;
    {
        Simulation sim;
        report = sim.run([&] { held = LoadLibraryW(copy.c_str()); });
    }
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(found(report, "another copy of the DLL is loaded, which is not simulated: "), 1) << report.text();
    EXPECT_TRUE(contains(reasonOfRefusal([] { const Simulation sim; }), "is loaded already"));
    FreeLibrary(held);
    std::filesystem::remove_all(folder);
}

TEST(SimulationLoading, ProcessWithoutThreadLocalSlots_IsRefusedInTime) {
    std::vector<DWORD> taken;
    for (DWORD slot = TlsAlloc(); slot != TLS_OUT_OF_INDEXES; slot = TlsAlloc())
        taken.push_back(slot);
    const std::string reason = reasonOfRefusal([] { const Simulation sim; });
    for (const DWORD slot : taken)
        TlsFree(slot);
    EXPECT_TRUE(contains(reason, "no slots for thread-local data left")) << reason;
}

// --- the report ---

TEST(SimulationReport, WhatIsLeft_IsTold) {
    Simulation sim;
    Client client(sim);
    const Report report = sim.run([&] {
        client.initialize();
        sim.exports().orvosoundbackend_lockDSP(client.backend);
        sim.advance(10);
    });
    EXPECT_EQ(found(report, "1 left of kind window instead of 0: window of client;"), 1) << report.text();
    EXPECT_EQ(found(report, "1 left of kind timer period instead of 0: timer period 1 ms;"), 1);
    EXPECT_EQ(found(report, "of the plug-in is still there at the end"), 1);
    EXPECT_EQ(found(report, "heap blocks left instead of 0: heap block "), 1);
    EXPECT_TRUE(contains(report.text(), "schedule: run until blocked, "));
    EXPECT_TRUE(contains(report.text(), "threads:\n  thread1: waits")) << report.text();
    EXPECT_TRUE(contains(report.text(), "last steps:\n"));
}

TEST(SimulationReport, WhatMayBeLeft_IsExpectedExactly) {
    const auto leakingRun = [](std::size_t allowed) {
        Simulation sim;
        sim.expectHeapLeft(allowed);
        return sim.run([&] {
            DirectSoundBackend* backend = nullptr;
            const BackendCallbacks none{};
            sim.exports().orvosoundbackend_initialize(&backend, &none);
        });
    };
    const Report strict = leakingRun(0);
    const auto leak = std::ranges::find_if(strict.problems, [](const std::string& problem) {
        return contains(problem, " heap blocks left instead of 0");
    });
    ASSERT_NE(leak, strict.problems.end());
    const auto left = static_cast<std::size_t>(std::stoul(*leak));
    EXPECT_EQ(found(leakingRun(left), "heap blocks left"), 0);
    EXPECT_EQ(found(leakingRun(left + 1), "heap blocks left instead of " + std::to_string(left + 1)), 1);
}

TEST(SimulationReport, SameFaultsElsewhereInMemory_SameText) {
    const auto faultyRun = [] {
        Simulation sim;
        Client client(sim);
        return sim
            .run([&] {
                client.initialize();
                DirectSoundBackend* gone = client.backend;
                client.finalize();
                sim.exports().orvosoundbackend_lockDSP(gone); // freed memory
                client.initialize();                          // never finalized
            })
            .text();
    };
    void* base = nullptr;
    {
        const Simulation sim;
        base = GetModuleHandleW(L"directsound_win64.dll");
    }
    const std::string first = faultyRun();
    // Where the DLL and its heap were, something else is now.
    void* there = VirtualAlloc(base, 65536, MEM_RESERVE, PAGE_NOACCESS);
    void* heap = VirtualAlloc(nullptr, 1u << 30, MEM_RESERVE, PAGE_NOACCESS);
    const std::string second = faultyRun();
    VirtualFree(there, 0, MEM_RELEASE);
    VirtualFree(heap, 0, MEM_RELEASE);
    EXPECT_EQ(there, base);
    EXPECT_TRUE(contains(first, "(directsound_win64.dll+0x")) << first;
    EXPECT_EQ(first, second);
}

// --- the script ---

TEST(SimulationScript, CallsWithoutRules_AreRefused_AndAllOthersTaken) {
    Simulation sim;
    EXPECT_THROW(sim.on("free"), std::invalid_argument);
    for (const std::string& function : functionsWithRules())
        EXPECT_NO_THROW(sim.on(function).maybe()) << function;
    EXPECT_GT(functionsWithRules().size(), 50u);
}
