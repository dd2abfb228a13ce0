#include "invariants.h"

#include <algorithm>

namespace schedules {
namespace {

using namespace simulator;

// As the scenarios have them.
constexpr unsigned kBits = 16;
constexpr unsigned kCaptureChannels = 2;

// "S3" and "E12" are the names of section 3 and event 12.
int numberIn(const std::string& name) {
    return std::stoi(name.substr(1));
}

} // namespace

bool hasCycle(const std::set<std::pair<int, int>>& pairs) {
    // What leads nowhere is taken away until nothing is left, or a cycle.
    std::set<std::pair<int, int>> left = pairs;
    const auto leadsOn = [&](int number) {
        return std::ranges::any_of(left, [number](const auto& pair) { return pair.first == number; });
    };
    while (std::erase_if(left, [&](const auto& pair) { return !leadsOn(pair.second); }) > 0) {
    }
    return !left.empty();
}

void Invariants::watch() {
    learnDspLock();
    followStreams();
    m_Sim.invariant([this] { return checkStep(); });
    for (const char* call : {"WaitForSingleObject", "WaitForMultipleObjects", "Sleep", "CloseHandle"})
        m_Sim.on(call).maybe().does([this, call] { checkCall(call); });
}

void Invariants::learnDspLock() {
    const ThreadState& self = *Scheduler::current();
    m_Client.lockDsp();
    const std::vector<std::string> owned = m_Sim.kernel().ownedBy(self);
    const std::size_t before = m_Sim.calls("SetEvent").size();
    m_Client.unlockDsp();
    const std::vector<CallRecord> set = m_Sim.calls("SetEvent"); // the first thousand only
    if (owned.size() != 1 || set.size() != before + 1 || set.back().thread != self.name) {
        m_Sim.findings().add("the DSP lock cannot be told from the others");
        return;
    }
    m_DspSection = numberIn(owned.front());
    m_DspIdleEvent = numberIn(set.back().subject);
}

void Invariants::followStreams() {
    for (Device* device : m_Sim.sound().all(Direction::playback)) {
        const std::string& label = device->label();
        const auto begin = [this, device, label] {
            m_Played.insert_or_assign(label, NumberedChecker(device->heard.format.channels, kBits));
        };
        begin();
        m_Played.at(label).feed(device->heard.audio);
        m_Sim.on("Secondary.Play").of(label).maybe().does(begin);
        device->heard.listener = [this, label](std::span<const std::byte> piece) { m_Played.at(label).feed(piece); };
    }
    for (const Device* device : m_Sim.sound().all(Direction::capture)) {
        const std::string id = device->id();
        const auto begin = [this, id] { m_Recorded.insert_or_assign(id, NumberedChecker(kCaptureChannels, kBits)); };
        begin();
        m_Sim.on("CaptureBuffer.Start").of(device->label()).maybe().does(begin);
    }
}

std::string Invariants::checkStep() {
    if (m_Broken)
        return "";
    std::string problem = checkLockOrder();
    if (problem.empty())
        problem = checkDspLock();
    if (problem.empty())
        problem = checkStreams();
    m_Broken = !problem.empty();
    return problem;
}

std::string Invariants::checkLockOrder() {
    const std::set<std::pair<int, int>>& pairs = m_Sim.kernel().lockOrder();
    if (pairs.size() == m_KnownPairs)
        return "";
    m_KnownPairs = pairs.size();
    if (!hasCycle(pairs))
        return "";
    std::string problem = "locks are taken in different orders:";
    for (const auto& [first, second] : pairs)
        problem.append(" S").append(std::to_string(first)).append(" before S").append(std::to_string(second));
    return problem;
}

std::string Invariants::checkDspLock() const {
    const std::optional<bool> idle = m_Sim.kernel().signalled(m_DspIdleEvent);
    if (!idle)
        return ""; // the backend is gone
    if (*idle && m_Client.insideDspLock())
        return "dspIdleEvent is set while somebody is inside the DSP lock";
    if (!*idle && !m_Sim.kernel().ownerOf(m_DspSection))
        return "dspIdleEvent is not set, and nobody is inside the DSP lock";
    return "";
}

std::string Invariants::checkStreams() {
    const auto describe = [](const std::string& device, const char* does, const NumberedChecker& stream) {
        return device + does + std::to_string(stream.breaks()) + " breaks, " + std::to_string(stream.silence()) +
               " frames of silence and " + std::to_string(stream.garbage()) + " of garbage" +
               (stream.firstBreaks().empty() ? "" : ": " + stream.firstBreaks().front());
    };
    const auto isBroken = [](const NumberedChecker& stream) {
        return stream.breaks() + stream.silence() + stream.garbage() > 0;
    };
    for (const auto& [device, stream] : m_Played) {
        if (isBroken(stream))
            return describe(device, " plays ", stream);
    }
    for (; m_CapturedSeen < m_Client.captured.size(); ++m_CapturedSeen) {
        const CapturedBlock& block = m_Client.captured[m_CapturedSeen];
        NumberedChecker& stream = m_Recorded.at(block.device);
        if (stream.frames() == 0 && firstNumber(block.audio, kCaptureChannels) != 0)
            return "what " + block.device + " records does not begin with its first frame";
        stream.feed(block.audio);
        if (isBroken(stream) || stream.leadIn() > 0)
            return describe(block.device, " records ", stream);
    }
    return "";
}

void Invariants::checkCall(const char* call) {
    const ThreadState& self = *Scheduler::current();
    for (const std::string& section : m_Sim.kernel().ownedBy(self)) {
        if (self.kind != ThreadKind::plugin && numberIn(section) == m_DspSection)
            continue; // a client may do so while it holds the DSP lock
        m_Sim.findings().add(self.name + " calls " + call + " while it owns " + section);
    }
}

} // namespace schedules
