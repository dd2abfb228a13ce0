// `--report`: the page of a run, whatever its end, and what happens when it cannot be written.
#include "command_run.h"
#include "report/document_page.h"

#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

class ReportRun : public test::CommandRun {
protected:
    std::string page() const { return test::text(m_folder.file("report.html")); }
    bool pageSays(std::string_view words) const { return page().find(words) != std::string::npos; }
    std::vector<std::string> talk() const {
        return {"talk",        path("speech.wav"), "--echo-to", path("e.wav"),
                "--record-to", path("m.wav"),      "--report",  path("report.html")};
    }
};

TEST(DocumentPage, MemberNames_AreSpokenWithTheirUnits) {
    EXPECT_EQ(spokenName("longest_gap_ms"), "longest gap (ms)");
    EXPECT_EQ(spokenName("rate_percent"), "rate (%)");
    EXPECT_EQ(spokenName("blocks"), "blocks");
}

TEST(DocumentPage, Sections_BecomeTables) {
    const Json section = {{"blocks", 500},
                          {"name", nullptr},
                          {"swapped", false},
                          {"channels", {{{"gain_db", -6.5}}, {{"gain_db", 0}, {"mixed", true}}}},
                          {"latency", {{"median_ms", 12.5}}},
                          {"formats", {48000, 44100}}};
    const auto tables = tablesOf("loop", section);
    ASSERT_EQ(tables.size(), 3U);
    const std::vector<std::vector<std::string>> plain = {
        {"blocks", "500"}, {"name", "-"}, {"swapped", "no"}, {"formats", "48000, 44100"}};
    EXPECT_EQ(tables[0].rows, plain);
    EXPECT_EQ(tables[1].caption, "loop: channels");
    const std::vector<std::vector<std::string>> channels = {{"-6.5", "-"}, {"0", "yes"}};
    EXPECT_EQ(tables[1].rows, channels);
    EXPECT_EQ(tables[2].caption, "loop: latency");
}

TEST(DocumentPage, LongLists_AreCutAndSaySo) {
    Json list = Json::array();
    for (int i = 0; i < 250; ++i)
        list.push_back({{"number", i}});
    const auto tables = tablesOf("x", {{"points", list}});
    ASSERT_EQ(tables.size(), 1U);
    EXPECT_EQ(tables[0].rows.size(), 100U);
    EXPECT_EQ(tables[0].caption, "x: points (the first 100 of 250)");
}

TEST(DocumentPage, Verdict_FollowsTheExitCode) {
    Document document("talk");
    EXPECT_EQ(pageOf(document, ExitCode::done).verdict, Verdict::passed);
    document.addFinding("A device stood still.");
    EXPECT_EQ(pageOf(document, ExitCode::checkFailed).verdict, Verdict::failed);
    EXPECT_EQ(pageOf(document, ExitCode::checkFailed).sentence, "A device stood still.");
    EXPECT_EQ(pageOf(document, ExitCode::backendFailed).verdict, Verdict::failed);
    EXPECT_EQ(pageOf(document, ExitCode::nothingChecked).verdict, Verdict::nothingChecked);
}

TEST_F(ReportRun, Talk_HasVerdictPicturesAndNumbers) {
    EXPECT_EQ(run(talk()), 0) << errors();
    for (const char* part : {"<h1>Passed</h1>", "played on Fake Speaker", "captured from Fake Microphone",
                             "reference for Fake Microphone", "playback: Fake Speaker",
                             "Time between two callbacks of Fake Microphone", "with reference", ", Fake Sound</p>"})
        EXPECT_TRUE(pageSays(part)) << part;
}

TEST_F(ReportRun, FailedCheck_IsTheVerdict) {
    misbehave("no-reference");
    EXPECT_EQ(run(talk()), 1);
    EXPECT_TRUE(pageSays("<h1>Failed</h1>"));
    EXPECT_TRUE(pageSays("<li>No echo reference came at all.</li>"));
    EXPECT_FALSE(pageSays("reference for")) << "there is none to be drawn";
}

TEST_F(ReportRun, PluginThatFails_GivesAPageWithoutPictures) {
    misbehave("open-fails");
    EXPECT_EQ(run(talk()), 3);
    EXPECT_TRUE(pageSays("<h1>Failed</h1>"));
    EXPECT_FALSE(pageSays("<svg"));
}

TEST_F(ReportRun, NoDevices_IsNoPass) {
    misbehave("no-devices");
    EXPECT_EQ(run(talk()), 77);
    EXPECT_TRUE(pageSays("<h1>Nothing checked</h1>"));
}

TEST_F(ReportRun, Interrupted_PageIsWritten) {
    std::jthread user([this] {
        std::this_thread::sleep_for(400ms);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"record", path("x.wav"), "--report", path("report.html")}), 0) << errors();
    EXPECT_TRUE(pageSays("Until it was interrupted"));
    EXPECT_TRUE(pageSays("captured from Fake Microphone"));
}

TEST_F(ReportRun, FrozenDevice_HasAGapInItsTimeline) {
    misbehave("freeze");
    std::jthread user([this] {
        std::this_thread::sleep_for(1500ms);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"record", path("x.wav"), "--report", path("report.html")}), 1);
    EXPECT_TRUE(pageSays("class=\"gap\""));
    EXPECT_TRUE(pageSays("1 gap(s) longer than 60 ms"));
}

TEST_F(ReportRun, OlderReport_IsReplacedWhole) {
    test::store(m_folder.file("report.html"), test::Bytes(1000000, std::byte{'x'}));
    EXPECT_EQ(run({"list", "--report", path("report.html")}), 0);
    EXPECT_TRUE(page().ends_with("</html>\n"));
}

TEST_F(ReportRun, UnwritableFile_IsToldBeforeAnythingRuns) {
    std::vector<std::string> arguments = talk();
    arguments.back() = path("missing/report.html");
    EXPECT_EQ(run(arguments), 4);
    EXPECT_TRUE(said("The report cannot be created"));
    EXPECT_EQ(journal(), "");
    arguments.back() = pathText(m_folder.path());
    EXPECT_EQ(run(arguments), 4);
}

TEST_F(ReportRun, FileThatIsNoPage_IsNotReplaced) {
    const std::string before = test::text(m_folder.file("speech.wav"));
    EXPECT_EQ(run({"play", path("speech.wav"), "--report", path("speech.wav")}), 4);
    EXPECT_TRUE(said("it is not replaced"));
    EXPECT_EQ(test::text(m_folder.file("speech.wav")), before);
    EXPECT_EQ(run({"info", "--report", path("old.HTM")}), 0) << errors();
    EXPECT_EQ(run({"info", "--report", path("old.HTM")}), 0) << errors();
}

TEST_F(ReportRun, FullDisk_IsToldAndIsNoSuccess) {
    if (!wineVersion())
        GTEST_SKIP() << "needs a device that is always full";
    EXPECT_EQ(run({"list", "--json", "--report", "Z:\\dev\\full"}), 4);
    EXPECT_TRUE(said("The report cannot be written"));
    const Json document = Json::parse(output());
    EXPECT_EQ(document["exit_code"], 4);
    EXPECT_EQ(document["ended"], "failed");
    misbehave("unsupported");
    EXPECT_EQ(run({"info", "--report", "Z:\\dev\\full"}), 3) << "what failed first stays the reason";
}

} // namespace
} // namespace soundcheck
