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

Simulation::Simulation(const std::filesystem::path& dll) : m_Table(std::make_unique<ImportTable>(dll)) {
#define SIMULATOR_LOAD(name)                                                                                         \
    m_Exports.name = reinterpret_cast<name##_fn>(m_Table->exported(#name));                                          \
    if (!m_Exports.name)                                                                                             \
        throw std::runtime_error("the DLL does not export " #name);
    ORVOSOUNDBACKEND_EXPORTS(SIMULATOR_LOAD)
#undef SIMULATOR_LOAD
    for (const auto& functions : {kernelFunctions(), timeFunctions(), comFunctions(), textFunctions(),
                                  memoryFunctions(), streamFunctions(), soundFunctions()})
        m_Table->replace(functions);
    setWorld(&m_World);
}

Simulation::~Simulation() {
    m_Table.reset(); // its clean-up still calls into the world
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
    m_World.scheduler.onStep([this, check = std::move(check)] {
        if (std::string problem = check(); !problem.empty())
            m_World.findings.add(std::move(problem));
    });
}

void Simulation::setPolicy(std::unique_ptr<Policy> policy) {
    if (m_Policy)
        m_Policy = std::move(policy);
    else
        m_World.scheduler.start(std::move(policy));
}

// The runtime inside the DLL takes things when it is first used in a process and in a thread, and keeps them: stream
// and exception state, a pool of thread records. So that the book shows the plug-in's own doings only, that happens
// before it is opened, on as many threads at once as a scenario may have.
void Simulation::warmUp() {
    constexpr unsigned kThreads = 8;
    Script script = std::move(m_World.script);
    m_World.script = Script();
    m_World.script.on("DirectSoundEnumerateW").fails();
    m_World.script.on("CreateWindowExW").fails();
    const BackendCallbacks none{};
    unsigned there = 0;
    unsigned gone = 0;
    for (unsigned i = 0; i < kThreads; ++i) {
        thread("warm-up", [&] {
            DirectSoundBackend* backend = nullptr;
            m_Exports.orvosoundbackend_isSupported();               // one line on standard output
            m_Exports.orvosoundbackend_initialize(&backend, &none); // one line on standard error
            m_World.script.on("malloc").onCall(1).fails();
            m_Exports.orvosoundbackend_initialize(&backend, &none); // an exception
            ++there;
            m_World.scheduler.wait(kNever, [&] { return there == kThreads; });
            ++gone;
        });
    }
    m_World.scheduler.wait(kNever, [&] { return gone == kThreads; });
    m_World.script = std::move(script);
    m_World.streams = {};
    m_World.ledger.start();
    m_World.heap.startBook();
    m_World.kernel.startNumbering();
    m_World.scheduler.start(std::move(m_Policy));
}

Report Simulation::run(std::function<void()> scenario) {
    const auto begin = std::chrono::steady_clock::now();
    Report report;
    report.ended = m_World.scheduler.run([this, scenario = std::move(scenario)] {
        warmUp();
        scenario();
    });
    m_Sound.catchUp();
    report.threads = m_World.scheduler.describeThreads();
    switch (report.ended) {
    case Scheduler::Ended::complete:
        for (const ThreadState* thread : m_World.scheduler.living(ThreadKind::plugin))
            m_World.findings.add(thread->name + " of the plug-in is still there at the end");
        m_Table.reset(); // gives back what it keeps until it is unloaded
        checkLedger();
        break;
    case Scheduler::Ended::deadlock:
        m_World.findings.add("deadlock: nobody can run, and nothing will ever wake anybody");
        break;
    case Scheduler::Ended::hang:
        m_World.findings.add("hang: a client thread waits without end");
        break;
    }
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
    const std::size_t expected = expectedLeft(Kind::heap);
    if (const std::size_t live = m_World.heap.liveBlocks(); live != expected) {
        std::string text = std::to_string(live) + " heap blocks left instead of " + std::to_string(expected) + ":";
        for (const std::string& line : m_World.heap.describeLive())
            text += " " + line + ";";
        m_World.findings.add(text);
    }
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
