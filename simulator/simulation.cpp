#include "simulation.h"

#include <chrono>
#include <sstream>
#include <stdexcept>

namespace simulator {
namespace {

Nanoseconds nanoseconds(double milliseconds) {
    return static_cast<Nanoseconds>(milliseconds * kMillisecond);
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> found;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        found.push_back(line);
    return found;
}

// Without these redirected, what happens is no simulation.
constexpr const char* kEssential[] = {
    "DirectSoundCreate8",
    "DirectSoundCaptureCreate8",
    "DirectSoundEnumerateW",
    "DirectSoundCaptureEnumerateW",
    "GetDeviceID",
    "InitializeCriticalSection",
    "DeleteCriticalSection",
    "EnterCriticalSection",
    "LeaveCriticalSection",
    "CreateEventW",
    "SetEvent",
    "CloseHandle",
    "WaitForSingleObject",
    "WaitForMultipleObjects",
    "_beginthreadex",
    "_endthreadex",
    "timeGetTime",
    "malloc",
    "free",
};

bool g_SimulationExists = false;

} // namespace

std::filesystem::path besideProgram(const wchar_t* file) {
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    return std::filesystem::path(program).replace_filename(file);
}

std::string Report::text() const {
    std::ostringstream text;
    for (const std::string& problem : problems)
        text << problem << '\n';
    text << "schedule: " << schedule << ", " << steps << " steps, " << virtualSeconds << " s\nthreads:\n"
         << threads << "last steps:\n"
         << trace;
    return text.str();
}

Simulation::OnlyOne::OnlyOne() {
    if (g_SimulationExists)
        throw std::logic_error("there is a simulation already; one exists at a time");
    g_SimulationExists = true;
}

Simulation::OnlyOne::~OnlyOne() {
    g_SimulationExists = false;
}

Simulation::Simulation(const std::filesystem::path& dll) : m_Table(std::make_unique<ImportTable>(dll)) {
#define SIMULATOR_LOAD(name)                                                                                         \
    m_Exports.name = reinterpret_cast<name##_fn>(m_Table->exported(#name));                                          \
    if (!m_Exports.name)                                                                                             \
        throw std::runtime_error("the DLL does not export " #name);
    ORVOSOUNDBACKEND_EXPORTS(SIMULATOR_LOAD)
#undef SIMULATOR_LOAD
    m_Table->replace(allFunctions());
    for (std::string& function : functionsWithRules())
        m_World.script.allow(std::move(function));
    for (std::string& method : methodNames())
        m_World.script.allow(std::move(method));
    for (const char* function : kEssential) {
        if (!m_Table->isReplaced(function))
            throw std::runtime_error(std::string("the DLL does not import ") + function +
                                     " by name, so that it cannot be simulated");
    }
    setWorld(&m_World);
}

Simulation::~Simulation() {
    // Who was ended where it stood cannot let go of the DLL any more. Its clean-up still calls into the world.
    if (m_Table && !(m_HasRun ? m_Table->unloadForAll() : m_Table->unload()))
        m_World.heap.keepArena();
    setWorld(nullptr);
}

void Simulation::at(double milliseconds, std::function<void()> event) {
    m_World.scheduler.at(nanoseconds(milliseconds), std::move(event));
}

void Simulation::timerGranularity(unsigned milliseconds) {
    const Nanoseconds unit = milliseconds * kMillisecond;
    m_World.scheduler.setLateness([unit](Nanoseconds exact) { return (exact + unit - 1) / unit * unit; });
}

void Simulation::invariant(std::function<std::string()> check) {
    m_Invariants.push_back({std::move(check)});
}

void Simulation::checkInvariants() {
    // A check may add another one. NOLINTNEXTLINE(modernize-loop-convert)
    for (std::size_t i = 0; i < m_Invariants.size(); ++i) {
        Invariant& invariant = m_Invariants[i];
        if (invariant.broken)
            continue;
        if (std::string problem = invariant.check(); !problem.empty()) {
            invariant.broken = true;
            m_World.findings.add(std::move(problem));
        }
    }
}

void Simulation::setPolicy(std::unique_ptr<Policy> policy) {
    if (m_Policy)
        m_Policy = std::move(policy);
    else
        m_World.scheduler.start(std::move(policy));
}

// The runtime inside the DLL takes things when it is first used in a process and in a thread, and keeps them: stream
// state, then exception state and a pool of thread records. So that the book shows the plug-in's own doings only, that
// happens before it is opened, on as many threads at once as a scenario may have.
void Simulation::warmUp() {
    Script script = std::move(m_World.script);
    m_World.script = Script();
    m_World.script.on("DirectSoundEnumerateW").fails();
    m_World.script.on("CreateWindowExW").fails();
    const BackendCallbacks none{};
    unsigned there = 0;
    unsigned gone = 0;
    for (unsigned i = 0; i < m_ThreadsAtOnce; ++i) {
        thread("warm-up", [&] {
            DirectSoundBackend* backend = nullptr;
            if (there == 0) {
                m_Exports.orvosoundbackend_isSupported();               // one line on standard output
                m_Exports.orvosoundbackend_initialize(&backend, &none); // one line on standard error
            }
            m_World.script.on("malloc").onCall(1).fails();
            m_Exports.orvosoundbackend_initialize(&backend, &none); // an exception
            ++there;
            m_World.scheduler.wait(kNever, [&] { return there == m_ThreadsAtOnce; });
            ++gone;
        });
    }
    m_World.scheduler.wait(kNever, [&] { return gone == m_ThreadsAtOnce; });
    m_World.script = std::move(script);
    m_World.streams = {};
    m_World.ledger.start();
    m_World.heap.startBook();
    m_World.kernel.startNumbering();
    m_World.scheduler.start(std::move(m_Policy));
    m_World.scheduler.onStep([this] { checkInvariants(); });
}

Report Simulation::run(std::function<void()> scenario) {
    if (m_HasRun)
        throw std::logic_error("a simulation runs once; make a new one");
    m_HasRun = true;
    const auto begin = std::chrono::steady_clock::now();
    Report report;
    report.ended = m_World.scheduler.run([this, scenario = std::move(scenario)] {
        warmUp();
        scenario();
    });
    m_Sound.catchUp();
    report.threads = m_World.scheduler.describeThreads();
    checkPolicy();
    for (const std::string& path : m_Table->otherCopies())
        m_World.findings.add("another copy of the DLL is loaded, which is not simulated: " + path);
    switch (report.ended) {
    case Scheduler::Ended::complete:
        for (const ThreadState* thread : m_World.scheduler.living(ThreadKind::plugin))
            m_World.findings.add(thread->name + " of the plug-in is still there at the end");
        unload();
        checkLedger();
        checkHeap();
        break;
    case Scheduler::Ended::deadlock:
        m_World.findings.add("deadlock: nobody can run, and nothing will ever wake anybody");
        break;
    case Scheduler::Ended::hang:
        m_World.findings.add("hang: a client thread waits without end");
        break;
    case Scheduler::Ended::exception:
        break; // found where it happened
    }
    for (std::string& unmet : m_World.script.unmet())
        m_World.findings.add(std::move(unmet));
    report.problems = m_World.findings.all();
    report.schedule = m_World.scheduler.policy().describe();
    report.trace = m_World.scheduler.trace().text();
    report.checksum = m_World.scheduler.trace().checksum();
    report.steps = m_World.scheduler.trace().lines();
    report.candidatesPerChoice = m_World.scheduler.candidatesPerChoice();
    report.virtualSeconds = static_cast<double>(m_World.scheduler.now()) / static_cast<double>(kSecond);
    report.realSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return report;
}

const Exports& Simulation::exports() const {
    if (!m_Table)
        throw std::logic_error("the exports are gone: the DLL was unloaded at the end of the run");
    return m_Exports;
}

void Simulation::checkPolicy() {
    for (const std::string& unmet : m_World.scheduler.policy().unmet())
        m_World.findings.add("the schedule does not fit the run: " + unmet);
}

// The DLL gives back what it keeps until then.
void Simulation::unload() {
    if (!m_Table->unload()) {
        m_World.findings.add(
            "the DLL is still loaded at the end, so that it has not given back what it keeps till then: "
            "whoever loads it inside the scenario must let go of it there");
        m_World.heap.keepArena();
    }
    m_Table.reset();
}

void Simulation::checkLedger() {
    for (const Kind kind :
         {Kind::event, Kind::threadHandle, Kind::section, Kind::interfacePointer, Kind::comInitialization,
          Kind::timerPeriod, Kind::window, Kind::taskMemory, Kind::localMemory}) {
        const std::size_t open = m_World.ledger.open(kind);
        const std::size_t expected = expectedLeft(kind);
        if (open == expected)
            continue;
        std::string text =
            std::to_string(open) + " left of kind " + nameOf(kind) + " instead of " + std::to_string(expected) + ":";
        for (const std::string& line : m_World.ledger.describeOpen(kind))
            text += " " + line + ";";
        m_World.findings.add(text);
    }
}

void Simulation::checkHeap() {
    const std::size_t live = m_World.heap.liveBlocks();
    if (live == m_HeapLeft)
        return;
    std::string text = std::to_string(live) + " heap blocks left instead of " + std::to_string(m_HeapLeft) + ":";
    for (const std::string& line : m_World.heap.describeLive())
        text += " " + line + ";";
    if (const std::size_t most = m_World.scheduler.mostAtOnce(); most > m_ThreadsAtOnce + 1)
        text += " some may be the runtime's, as there were " + std::to_string(most) + " threads: see threadsAtOnce()";
    m_World.findings.add(text);
}

double Simulation::now() const {
    return static_cast<double>(m_World.scheduler.now()) / static_cast<double>(kMillisecond);
}

void Simulation::advance(double milliseconds) {
    m_World.scheduler.spend(nanoseconds(milliseconds));
}

bool Simulation::advanceUntil(const std::function<bool()>& holds, double limitMilliseconds) {
    const double end = now() + limitMilliseconds;
    while (!holds()) {
        if (now() >= end)
            return false;
        advance(1);
    }
    return true;
}

ClientThread Simulation::thread(std::string name, std::function<void()> body) {
    return ClientThread(m_World.scheduler.spawn(std::move(name), ThreadKind::client, std::move(body)));
}

ClientThread Simulation::patientThread(std::string name, std::function<void()> body) {
    return ClientThread(m_World.scheduler.spawn(std::move(name), ThreadKind::patient, std::move(body)));
}

std::vector<std::string> Simulation::errorLines() const {
    return lines(m_World.streams.error);
}

std::vector<std::string> Simulation::outputLines() const {
    return lines(m_World.streams.out);
}

} // namespace simulator
