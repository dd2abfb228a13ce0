// `watch`: every change with time, direction, kind and name; how many, how long.
#include "command_run.h"
#include "report/document.h"

#include <chrono>
#include <regex>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;
using Watch = test::CommandRun;

TEST_F(Watch, DeviceComesAndGoes_EveryChangeIsTold) {
    misbehave("latecomer");
    EXPECT_EQ(run({"watch", "--count", "5", "--seconds", "20"}), 0) << errors();
    const std::regex line("\\d\\d:\\d\\d:\\d\\d\\.\\d{3}  playback  (.{11})  \\{1{8}-0000-0000-0000-0{11}3\\}  "
                          "Fake Latecomer\n");
    const std::string text = output();
    std::string kinds;
    for (std::sregex_iterator found(text.begin(), text.end(), line), end; found != end; ++found)
        kinds += (*found)[1].str() + "|";
    EXPECT_EQ(kinds, "added      |active     |default    |not present|removed    |") << text;
    EXPECT_EQ(journal(), "initialize wait finalize ");
}

TEST_F(Watch, AsDocument_HoldsListsAndEvents) {
    misbehave("latecomer");
    EXPECT_EQ(run({"watch", "--count", "2", "--json"}), 0);
    const Json watch = Json::parse(output())["watch"];
    EXPECT_EQ(watch["capture"].size(), 2U);
    ASSERT_EQ(watch["events"].size(), 2U);
    EXPECT_EQ(watch["events"][0]["kind"], "added");
    EXPECT_EQ(watch["events"][0]["direction"], "playback");
    EXPECT_EQ(watch["events"][1]["kind"], "active");
    EXPECT_EQ(watch["events"][1]["direction"], "playback");
    EXPECT_EQ(watch["events"][1]["name"], "Fake Latecomer");
}

TEST_F(Watch, NothingChanges_EndsInTimeWithSuccess) {
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(run({"watch", "--seconds", "0.3"}), 0) << errors();
    EXPECT_GE(std::chrono::steady_clock::now() - began, 300ms);
    EXPECT_TRUE(said("Fake Headset\nwatching for changes\n"));
}

TEST_F(Watch, FewerChangesThanAskedFor_GivesOne) {
    EXPECT_EQ(run({"watch", "--seconds", "0.1", "--count", "1"}), 1);
    EXPECT_TRUE(said("Only 0 of 1 change(s) came in time."));
}

TEST_F(Watch, CtrlC_IsTheUsualEnd) {
    std::jthread user([this] {
        std::this_thread::sleep_for(200ms);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"watch", "--json"}), 0) << errors();
    EXPECT_EQ(Json::parse(output())["ended"], "interrupted");
}

TEST_F(Watch, CtrlCBeforeTheCount_GivesSeventySeven) {
    m_interrupt.request();
    EXPECT_EQ(run({"watch", "--count", "1"}), 77);
}

} // namespace
} // namespace soundcheck
