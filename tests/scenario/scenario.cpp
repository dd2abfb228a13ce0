#include "scenario.h"

namespace scenario {
namespace {

template <class Strings>
std::string joined(const Strings& strings) {
    std::string text;
    for (const std::string& string : strings)
        text.append("  ").append(string).append("\n");
    return text;
}

} // namespace

void Scenario::runAndJudge(const char* description) {
    ::testing::Test::RecordProperty("behaviour", description);
    const Report report = sim.run([this] {
        play();
        m_Played = true;
    });
    if (!m_Played && !mayEndStuck)
        ADD_FAILURE() << "the scenario did not come to its end\n" << report.text();
    else if (!report.problems.empty() && !mayEndStuck)
        ADD_FAILURE() << report.text();
    else if (::testing::Test::HasFailure())
        std::printf("%s\n", report.text().c_str());
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
    sim.advance(seconds * 1000.0);
    return !thread.finished();
}

} // namespace scenario
