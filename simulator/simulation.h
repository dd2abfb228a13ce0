// The face of the simulator: loads the DLL, scripts its world, runs a scenario, reports.
//
//     Simulation sim;
//     Device& headset = sim.playback("Headset");
//     Client client(sim);
//     Report report = sim.run([&] {
//         client.initialize();
//         client.open(headset, 7);
//         client.start(headset, 7);
//         sim.advance(1000);
//         ...
//         client.finalize();
//     });
//
// The scenario is the first client thread. While it is inside an export, or advances time, the other threads run. The
// exports are called inside run() only, on its thread and on those of thread(): from anywhere else there is no way on,
// and the process ends with a message. One simulation exists at a time, it runs once, and it alone loads the DLL.
#pragma once

#include "orvosoundbackend.h"
#include "platform/world.h"
#include "sound/sound_system.h"

#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace simulator {

// The fifteen exports, loaded by name.
struct Exports {
#define SIMULATOR_MEMBER(name) name##_fn name = nullptr;
    ORVOSOUNDBACKEND_EXPORTS(SIMULATOR_MEMBER)
#undef SIMULATOR_MEMBER
};

// How a run ended and everything that was wrong with it.
struct Report {
    Scheduler::Ended ended = Scheduler::Ended::complete; // an exception that ended it is a problem, too
    std::vector<std::string> problems;
    std::string schedule; // how to get the same run again
    std::string trace;    // its last steps
    std::string threads;  // what each thread was doing at the end
    std::uint64_t checksum = 0;
    std::uint64_t steps = 0;
    std::vector<std::uint8_t> candidatesPerChoice;
    double virtualSeconds = 0;
    double realSeconds = 0;

    // All of it, for people.
    [[nodiscard]] std::string text() const;
};

// A client thread of its own.
class ClientThread {
public:
    explicit ClientThread(const ThreadState& state) : m_State(&state) {}
    [[nodiscard]] bool finished() const { return m_State->is == ThreadState::Is::finished; }

private:
    const ThreadState* m_State;
};

// The DLL beside the running program.
std::filesystem::path besideProgram(const wchar_t* file);

class Simulation {
public:
    // Throws std::runtime_error when the DLL cannot be loaded (see ImportTable), lacks an export, or does not import
    // what the simulator stands on; std::logic_error when there is another simulation.
    explicit Simulation(const std::filesystem::path& dll = besideProgram(L"directsound_win64.dll"));
    ~Simulation();
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;

    // --- the world ---
    Device& playback(std::string label) { return m_Sound.add(Direction::playback, std::move(label)); }
    Device& capture(std::string label) { return m_Sound.add(Direction::capture, std::move(label)); }
    Device& device(std::string_view label) { return m_Sound.find(label); }
    SoundSystem& sound() { return m_Sound; }
    SystemScript& system() { return m_World.system; }
    // What shall happen at calls of this name; see Rule. A rule that no call meets is a problem. Throws
    // std::invalid_argument when no call has this name.
    Rule& on(std::string call) { return m_World.script.on(std::move(call)); }
    // Something that happens so many milliseconds after the begin. It neither waits nor calls exports.
    void at(double milliseconds, std::function<void()> event);
    // Waits end at the next multiple of this, as with a timer that cannot do better.
    void timerGranularity(unsigned milliseconds);

    // --- the schedule ---
    // Before run; a scenario that is already running changes it from there on.
    void setPolicy(std::unique_ptr<Policy> policy);
    void randomSchedule(std::uint64_t seed) { setPolicy(simulator::randomSchedule(seed)); }
    void forceSwitches(std::map<std::uint64_t, std::size_t> switches) {
        setPolicy(forcedSwitches(std::move(switches)));
    }
    void keepWholeTrace() { m_World.scheduler.trace().keep(0); }
    // Without guard pages: for runs of very many blocks, more than about two million.
    void plainHeap() { m_World.heap.setMode(GuardHeap::Mode::plain); }
    // Checked before every choice from the begin of the scenario on; the first text that it returns is a problem. There
    // can be several.
    void invariant(std::function<std::string()> check);
    // So many threads beside the first may be in the plug-in at once, its own among them. The runtime inside the DLL
    // keeps a little for each; beyond the number that looks like a leak. Before run.
    void threadsAtOnce(unsigned count) { m_ThreadsAtOnce = count; }
    void hangLimit(unsigned seconds) { m_World.scheduler.setHangLimit(seconds * kSecond); }
    // So long nobody passes a switching point in real time before the process is ended; see Scheduler::setRealLimit.
    void realLimit(unsigned seconds) { m_World.scheduler.setRealLimit(seconds * 1000); }

    // --- what is allowed to be left, exactly; nothing otherwise ---
    void expectLeft(Kind kind, std::size_t count) { m_Left[kind] = count; }
    [[nodiscard]] std::size_t expectedLeft(Kind kind) const { return m_Left.contains(kind) ? m_Left.at(kind) : 0; }
    void expectHeapLeft(std::size_t blocks) { m_HeapLeft = blocks; }
    void allowOwnedSectionAtRemoval(unsigned count) { m_World.kernel.allowOwnedAtRemoval(count); }

    // Throws std::logic_error when it has run before.
    Report run(std::function<void()> scenario);

    // --- inside the scenario ---
    // Throws std::logic_error after a complete run: the DLL is unloaded.
    [[nodiscard]] const Exports& exports() const;
    [[nodiscard]] double now() const; // milliseconds
    void advance(double milliseconds);
    // In steps of a millisecond, until it holds. False: it did not within the limit.
    bool advanceUntil(const std::function<bool()>& holds, double limitMilliseconds = 10'000);
    // Another client thread; the run ends when all have returned.
    ClientThread thread(std::string name, std::function<void()> body);
    // One that may hang for ever.
    ClientThread patientThread(std::string name, std::function<void()> body);
    // The calling thread is busy for so long, e.g. inside a callback.
    void spend(double milliseconds) { advance(milliseconds); }

    // --- reading, during the run or after it ---
    [[nodiscard]] std::vector<CallRecord> calls(std::string_view name) const { return m_World.script.calls(name); }
    [[nodiscard]] unsigned count(std::string_view name) const { return m_World.script.count(name); }
    Script& script() { return m_World.script; }
    [[nodiscard]] std::vector<std::string> errorLines() const;
    [[nodiscard]] std::vector<std::string> outputLines() const;
    [[nodiscard]] const StreamCapture& streams() const { return m_World.streams; }
    Ledger& ledger() { return m_World.ledger; }
    GuardHeap& heap() { return m_World.heap; }
    Findings& findings() { return m_World.findings; }
    Scheduler& scheduler() { return m_World.scheduler; }
    Kernel& kernel() { return m_World.kernel; }

private:
    struct OnlyOne {
        OnlyOne();
        ~OnlyOne();
        OnlyOne(const OnlyOne&) = delete;
        OnlyOne& operator=(const OnlyOne&) = delete;
    };
    struct Invariant {
        std::function<std::string()> check;
        bool broken = false;
    };

    void warmUp();
    void checkInvariants();
    void checkPolicy();
    void unload();
    void checkLedger();
    void checkHeap();

    OnlyOne m_OnlyOne; // before the world, of which the process has one
    World m_World;
    SoundSystem m_Sound{m_World};
    std::unique_ptr<ImportTable> m_Table;
    Exports m_Exports;
    std::unique_ptr<Policy> m_Policy = runUntilBlocked(); // until the scenario begins
    std::deque<Invariant> m_Invariants;                   // a check may add another
    std::map<Kind, std::size_t> m_Left;
    std::size_t m_HeapLeft = 0;
    unsigned m_ThreadsAtOnce = 8;
    bool m_HasRun = false;
};

} // namespace simulator
