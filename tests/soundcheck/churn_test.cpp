// churn: the order that it plans, and the command against the fake plug-in, which notes every call out of order.
#include "command_run.h"
#include "commands/churn_plan.h"
#include "report/document.h"

#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

std::string orderOf(ChurnPlan plan, int steps) {
    std::string order;
    for (int i = 0; i < steps; ++i) {
        const ChurnStep step = plan.next();
        order += callName(step.call) + std::to_string(step.device) + "+" + std::to_string(step.pause.count()) + " ";
    }
    return order;
}

TEST(ChurnPlan, Seed_DecidesTheOrder) {
    EXPECT_EQ(orderOf(ChurnPlan(7, 3), 500), orderOf(ChurnPlan(7, 3), 500));
    EXPECT_NE(orderOf(ChurnPlan(7, 3), 500), orderOf(ChurnPlan(8, 3), 500));
}

TEST(ChurnPlan, EveryStep_IsAllowed) {
    enum { closed, open, running, stopped };
    ChurnPlan plan(1, 4);
    std::array<int, 4> states{};
    std::array<int, 5> counts{};
    for (int i = 0; i < 20000; ++i) {
        const ChurnStep step = plan.next();
        ++counts[static_cast<std::size_t>(step.call)];
        int& state = states.at(step.device);
        ASSERT_LE(step.pause, 60ms);
        switch (step.call) {
        case ChurnCall::open:
            ASSERT_EQ(state, closed);
            state = open;
            break;
        case ChurnCall::start:
            ASSERT_EQ(state, open);
            state = running;
            break;
        case ChurnCall::stop:
            ASSERT_NE(state, closed);
            state = state == running ? stopped : state;
            break;
        case ChurnCall::close:
            ASSERT_NE(state, closed);
            state = closed;
            break;
        case ChurnCall::wait:
            break;
        }
    }
    for (const int count : counts)
        EXPECT_GT(count, 1000);
}

TEST(ChurnPlan, AllClosed_BeginsAnew) {
    ChurnPlan plan(3, 1);
    for (int i = 0; i < 1000; ++i) {
        plan.allClosed();
        const ChurnCall call = plan.next().call;
        ASSERT_TRUE(call == ChurnCall::open || call == ChurnCall::wait);
    }
}

class Churn : public test::CommandRun {
protected:
    /** What the last run called. */
    std::string lastJournal() const { return journal().substr(journal().rfind("initialize ")); }
};

TEST_F(Churn, SameSeed_SameOrderOfCallsAndAllIsClosed) {
    EXPECT_EQ(run({"churn", "--seed", "42", "--rounds", "120"}), 0) << errors();
    const std::string first = lastJournal();
    EXPECT_TRUE(said("churning 4 devices with --seed 42\n"));
    EXPECT_TRUE(said("summary command=churn seed=42 rounds=120 devices=4 "));
    EXPECT_EQ(run({"churn", "--seed", "42", "--rounds", "120"}), 0) << errors();
    EXPECT_EQ(lastJournal(), first);
    EXPECT_EQ(first.find("TWICE"), std::string::npos);
    EXPECT_EQ(first.find("TOO-EARLY"), std::string::npos);
    EXPECT_EQ(run({"churn", "--seed", "43", "--rounds", "120"}), 0) << errors();
    EXPECT_NE(lastJournal(), first);
}

TEST_F(Churn, CallsThatFail_AreToldWithTheirCodeAndItGoesOn) {
    misbehave("flaky-open");
    EXPECT_EQ(run({"churn", "--seed", "5", "--rounds", "150", "--json"}), 1);
    const Json document = Json::parse(output());
    const Json& section = document["churn"];
    EXPECT_EQ(section["rounds"], 150);
    ASSERT_EQ(section["failures"].size(), 1U);
    EXPECT_EQ(section["failures"][0]["call"], "open");
    EXPECT_EQ(section["failures"][0]["code"], ORVO_PLAYBACK_START);
    EXPECT_GT(section["failures"][0]["count"], 2);
    EXPECT_EQ(section["calls"]["open"]["failed"], section["failures"][0]["count"]);
    EXPECT_EQ(document["findings"].size(), 1U); // each code once
    EXPECT_EQ(journal().find("TWICE"), std::string::npos);
    EXPECT_EQ(journal().find("TOO-EARLY"), std::string::npos);
}

TEST_F(Churn, LateEvent_IsCountedApartInWineOnly) {
    misbehave("late-event");
    EXPECT_EQ(run({"churn", "--seed", "5", "--rounds", "150", "--json"}), wineVersion() ? 0 : 1);
    const Json section = Json::parse(output())["churn"];
    EXPECT_EQ(section["late_events"], wineVersion() ? 1 : 0);
    EXPECT_EQ(section["failed"], wineVersion() ? 0 : 1);
    EXPECT_EQ(section["calls"]["start"]["failed"], 1);
    EXPECT_EQ(section["rounds"], 150);
    EXPECT_EQ(journal().find("TWICE"), std::string::npos);
    EXPECT_EQ(journal().find("TOO-EARLY"), std::string::npos);
}

TEST_F(Churn, DeviceThatNeverStarts_IsNoLateEvent) {
    misbehave("start-out-of-order");
    EXPECT_EQ(run({"churn", "--seed", "5", "--rounds", "20", "--json"}), 1);
    const Json document = Json::parse(output());
    EXPECT_EQ(document["churn"]["late_events"], 0);
    ASSERT_EQ(document["churn"]["failures"].size(), 1U);
    EXPECT_EQ(document["churn"]["failures"][0]["code"], ORVO_CALL_OUT_OF_ORDER);
    EXPECT_NE(document["findings"][0].get<std::string>().find("Starting the device failed"), std::string::npos);
}

TEST_F(Churn, ManyLateEvents_AreAFailure) {
    misbehave("late-events");
    EXPECT_EQ(run({"churn", "--seed", "5", "--rounds", "150"}), 1);
    EXPECT_EQ(said("that is more than Wine is known for"), wineVersion().has_value()) << errors();
}

TEST_F(Churn, CtrlC_ClosesEverything) {
    std::jthread user([this] {
        std::this_thread::sleep_for(500ms);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"churn", "--seconds", "60"}), 0) << errors();
    EXPECT_TRUE(said(" ended=interrupted\n"));
    EXPECT_NE(journal().find("wait finalize "), std::string::npos);
    EXPECT_EQ(journal().find("TOO-EARLY"), std::string::npos);
}

TEST_F(Churn, CtrlCBeforeTheFirstCall_GivesSeventySeven) {
    m_interrupt.request();
    EXPECT_EQ(run({"churn"}), 77);
    EXPECT_EQ(lastJournal(), "initialize wait wait finalize ");
}

TEST_F(Churn, NoDevice_GivesSeventySeven) {
    misbehave("no-devices");
    EXPECT_EQ(run({"churn"}), 77);
}

} // namespace
} // namespace soundcheck
