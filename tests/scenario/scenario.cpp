#include "scenario.h"

#include <algorithm>

namespace scenario {
namespace {

template <class Strings>
std::string joined(const Strings& strings) {
    std::string text;
    for (const std::string& string : strings)
        text.append("  ").append(string).append("\n");
    return text;
}

// Somebody waits without end, and so what he has and what he would have given back is left.
bool comesOfBeingStuck(const std::string& problem) {
    return problem.starts_with("deadlock:") || problem.starts_with("hang:") ||
           problem.starts_with("thread client ended while it owned ") ||
           problem.ends_with(" of the plug-in is still there at the end") ||
           problem.find(" left of kind ") != std::string::npos ||
           problem.find(" heap blocks left instead of ") != std::string::npos;
}

} // namespace

void Scenario::runAndJudge(const char* description) {
    ::testing::Test::RecordProperty("behaviour", description);
    const Report report = sim.run([this] {
        play();
        m_Played = true;
    });
    if (!m_Played && !endsStuck)
        ADD_FAILURE() << "the scenario did not come to its end\n" << report.text();
    if (endsStuck && !isStuck(report))
        ADD_FAILURE() << "nobody waits without end\n" << report.text();
    judgeProblems(report);
    if (::testing::Test::HasFailure())
        std::printf("%s\n", report.text().c_str());
}

void Scenario::judgeProblems(const Report& report) const {
    for (const std::string& problem : report.problems) {
        if (!endsStuck || !comesOfBeingStuck(problem))
            ADD_FAILURE() << problem;
    }
}

bool Scenario::isStuck(const Report& report) const {
    return report.ended != Scheduler::Ended::complete ||
           std::ranges::any_of(m_Patient, [](const ClientThread& thread) { return !thread.finished(); });
}

void Scenario::expectLog(std::int32_t level, const Device& device, const std::string& text) {
    std::vector<std::string> seen;
    for (const LogLine& line : client.logs) {
        if (line.level == level && line.text == text && line.category == device.id())
            return;
        seen.push_back(std::to_string(line.level) + " [" + line.category + "] " + line.text);
    }
    ADD_FAILURE() << "no log line of level " << level << " of " << device.label() << ": " << text << "\nbut\n"
                  << joined(seen);
}

void Scenario::expectTrouble(const std::vector<std::string>& texts) {
    std::vector<std::string> seen;
    for (const LogLine& line : client.logs) {
        if (line.level <= 2)
            seen.push_back(line.text);
    }
    EXPECT_EQ(joined(seen), joined(texts));
}

std::string Scenario::describe(const Notification& notification) {
    std::string device = notification.device;
    for (const Direction direction : {Direction::playback, Direction::capture}) {
        for (const Device* known : sim.sound().all(direction)) {
            if (known->id() == notification.device)
                device = known->label();
        }
    }
    std::string text = std::to_string(notification.event);
    return text.append(" ").append(device).append(" ").append(std::to_string(notification.value));
}

void Scenario::expectNotifications(const std::vector<std::string>& texts) {
    std::vector<std::string> seen;
    for (const Notification& notification : client.notifications)
        seen.push_back(describe(notification));
    EXPECT_EQ(joined(seen), joined(texts));
}

void Scenario::expectErrorLines(const std::vector<std::string>& lines) {
    EXPECT_EQ(joined(sim.errorLines()), joined(lines));
    EXPECT_GE(sim.streams().errorFlushes, lines.size()) << "a line is flushed at its end";
}

void Scenario::expectOutputLines(const std::vector<std::string>& lines) {
    EXPECT_EQ(joined(sim.outputLines()), joined(lines));
    EXPECT_GE(sim.streams().outFlushes, lines.size()) << "a line is flushed at its end";
}

bool Scenario::hangs(std::function<void()> body, unsigned seconds) {
    const ClientThread thread = sim.patientThread("patient", std::move(body));
    m_Patient.push_back(thread);
    sim.advance(seconds * 1000.0);
    return !thread.finished();
}

} // namespace scenario
