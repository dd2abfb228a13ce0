#include "scheduled_scenario.h"

#include "schedule_text.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace schedules {
namespace {

// So many fit into a quick check.
constexpr std::uint64_t kUsualPairs = 150;
constexpr std::uint64_t kUsualSeeds = 60;
constexpr std::uint64_t kSeedsPerShare = 500;

constexpr Nanoseconds kBlock = 20 * kMillisecond;

const char* environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// Number and count of the shares that a wide search is made of.
std::optional<std::pair<std::uint64_t, std::uint64_t>> share() {
    const std::string wanted = environment("SCHEDULES");
    const auto slash = wanted.find('/');
    if (slash == std::string::npos)
        return std::nullopt;
    return std::pair(std::stoull(wanted), std::stoull(wanted.substr(slash + 1)));
}

std::string testName() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    return std::string(test.test_suite_name()) + "." + test.name();
}

// True when a replay was asked for.
bool replayed(MakeScenario make) {
    const std::string wanted = environment("SCHEDULE");
    if (wanted.empty())
        return false;
    if (std::unique_ptr<Policy> policy = policyFrom(wanted))
        make()->playUnder(std::move(policy), true);
    else
        ADD_FAILURE() << "SCHEDULE is no schedule: " << wanted;
    return true;
}

// Nothing when it failed, and then how to play it again has been printed.
std::optional<Candidates> tryOne(MakeScenario make, std::unique_ptr<Policy> policy, const std::string& schedule) {
    Candidates met = make()->playUnder(std::move(policy), false);
    if (!testing::Test::HasFailure())
        return met;
    std::printf("\nreplay: SCHEDULE=\"%s\" schedule_tests --gtest_filter=%s\n", schedule.c_str(), testName().c_str());
    return std::nullopt;
}

class Stopwatch {
public:
    [[nodiscard]] double seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_Begin).count();
    }

private:
    std::chrono::steady_clock::time_point m_Begin = std::chrono::steady_clock::now();
};

} // namespace

Candidates ScheduledScenario::playUnder(std::unique_ptr<Policy> policy, bool wholeTrace) {
    m_Policy = std::move(policy);
    if (wholeTrace)
        sim.keepWholeTrace();
    Report report = sim.run([this] {
        play();
        m_Played = true;
    });
    EXPECT_FALSE(m_Policy) << "the scenario never said from where on";
    EXPECT_TRUE(m_Played) << "the scenario did not come to its end";
    EXPECT_TRUE(report.problems.empty());
    if (testing::Test::HasFailure() || wholeTrace)
        std::printf("%s\n", report.text().c_str());
    report.candidatesPerChoice.resize(std::min<std::size_t>(report.candidatesPerChoice.size(), m_ChoicesThatCount));
    return std::move(report.candidatesPerChoice);
}

void ScheduledScenario::fromHereOn() {
    m_Invariants.watch();
    sim.setPolicy(std::move(m_Policy));
}

void ScheduledScenario::atOnce(const std::function<void()>& calls) {
    const double before = sim.now();
    calls();
    EXPECT_EQ(sim.now(), before) << "a wake-up came late";
}

void ScheduledScenario::untilNextWake() {
    Nanoseconds wake = sim.scheduler().now() + kBlock;
    for (const ThreadState* thread : sim.scheduler().living(ThreadKind::plugin)) {
        if (thread->is == ThreadState::Is::ready)
            return; // it has not run yet
        wake = std::min(wake, thread->deadline);
    }
    sim.scheduler().spend(wake - sim.scheduler().now());
}

void ScheduledScenario::openAndStart(const Device& device, std::uint32_t contextId) {
    EXPECT_EQ(client.open(device, contextId).result, 0);
    EXPECT_EQ(client.start(device, contextId), 0);
}

void ScheduledScenario::stopAtOnce(const Device& device, std::uint32_t contextId) {
    const char* const call = device.direction() == Direction::playback ? "Secondary.Stop" : "CaptureBuffer.Stop";
    const Nanoseconds moment = sim.scheduler().now();
    const auto stops = [&] {
        return std::ranges::count_if(sim.calls(call), [&](const CallRecord& stop) {
            return stop.subject == device.label() && stop.time == moment;
        });
    };
    const auto before = stops();
    EXPECT_EQ(client.stop(device, contextId), 0);
    sim.advance(1);
    EXPECT_EQ(stops(), before + 1) << device.label() << " was not stopped at once";
}

void playEnumerated(const char* promise, MakeScenario make) {
    testing::Test::RecordProperty("behaviour", promise);
    if (replayed(make))
        return;
    const Stopwatch stopwatch;
    Enumeration enumeration(
        [make](const Switches& switches) { return tryOne(make, forcedSwitches(switches), textOf(switches)); });
    if (const auto wide = share())
        enumeration.run({.number = wide->first, .of = wide->second});
    else
        enumeration.run({.limit = kUsualPairs});
    EXPECT_GT(enumeration.pairs(), 20u) << "nothing happens at the same time here";
    std::printf("tally: %s: %llu schedules tried, %llu of %llu pairs of switches among them, in %.1f s\n",
                testName().c_str(), static_cast<unsigned long long>(enumeration.tried()),
                static_cast<unsigned long long>(enumeration.pairsTried()),
                static_cast<unsigned long long>(enumeration.pairs()), stopwatch.seconds());
}

void playRandomly(const char* promise, MakeScenario make) {
    testing::Test::RecordProperty("behaviour", promise);
    if (replayed(make))
        return;
    const Stopwatch stopwatch;
    const auto wide = share();
    const std::uint64_t first = wide ? kUsualSeeds + (wide->first - 1) * kSeedsPerShare : 0;
    const std::uint64_t end = wide ? first + kSeedsPerShare : kUsualSeeds;
    std::uint64_t seed = first;
    while (seed < end) {
        ++seed;
        if (!tryOne(make, randomSchedule(seed), "seed " + std::to_string(seed)))
            break;
    }
    std::printf("tally: %s: %llu random schedules tried in %.1f s\n", testName().c_str(),
                static_cast<unsigned long long>(seed - first), stopwatch.seconds());
}

} // namespace schedules
