// `doctor`: each check on its own, and no pass for what was not looked at.
#include "command_run.h"
#include "commands/doctor_notes.h"
#include "commands/doctor_plan.h"
#include "report/document.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

class DoctorRun : public test::CommandRun {
protected:
    int examine(std::vector<std::string> more = {}) {
        std::vector<std::string> arguments = {"doctor", "--json", "--report", path("report.html")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const int code = run(std::move(arguments));
        m_document = Json::parse(output());
        return code;
    }
    /** The verdict of a check; empty when there is none. */
    std::string verdict(const std::string& title) const {
        for (const Json& check : m_document["doctor"]["checks"])
            if (check["check"] == title)
                return check["verdict"];
        return {};
    }
    bool pageSays(std::string_view words) const {
        return test::text(m_folder.file("report.html")).find(words) != std::string::npos;
    }

    Json m_document;
};

DeviceEntry device(int number, const char* name) {
    return {number, "{" + std::to_string(number) + "}", name, number == 1};
}

TEST(DoctorPlan, DevicesAndTheirMonitors_AreFound) {
    const std::vector<DeviceEntry> playback = {device(1, "Speaker"), device(2, "Headset")};
    const std::vector<DeviceEntry> capture = {device(1, "Microphone"), device(2, "Monitor of Headset")};
    const auto pairs = monitorPairs(playback, capture);
    ASSERT_EQ(pairs.size(), 1U);
    EXPECT_EQ(pairs[0].playbackId, "{2}");
    EXPECT_EQ(pairs[0].captureId, "{2}");
    for (const DoctorCheck& check : loopChecks(pairs)) {
        EXPECT_NE(std::find(check.arguments.begin(), check.arguments.end(), "--device-capture"),
                  check.arguments.end());
        EXPECT_NE(check.title.find("Headset -> Monitor of Headset"), std::string::npos);
    }
    EXPECT_EQ(playbackChecks(playback, "tone.wav").size(), 2U);
}

TEST(DoctorPlan, NothingToLookAt_IsACheckThatSaysWhy) {
    for (const auto& checks :
         {playbackChecks({}, "t"), captureChecks({}, "r"), loopChecks({}), togetherChecks(false)}) {
        ASSERT_EQ(checks.size(), 1U);
        EXPECT_TRUE(checks[0].arguments.empty());
        EXPECT_FALSE(checks[0].reason.empty());
    }
}

TEST(DoctorNotes, SilentMicrophone_IsExplained) {
    EXPECT_NE(doctorNote("record", Verdict::passed, {{"peak_db", -96.0}}).find("muted"), std::string::npos);
    EXPECT_EQ(doctorNote("record", Verdict::passed, {{"peak_db", -30.0}}).find("muted"), std::string::npos);
}

TEST(DoctorNotes, LateEventsOfWine_AreExplained) {
    for (const Verdict verdict : {Verdict::passed, Verdict::failed}) {
        EXPECT_NE(doctorNote("churn", verdict, {{"late_events", 1}}).find("That is Wine's"), std::string::npos);
        EXPECT_EQ(doctorNote("churn", verdict, {{"late_events", 0}}).find("Wine"), std::string::npos);
    }
}

TEST(DoctorNotes, EveryCommand_HasOne) {
    for (const char* command : {"info", "list", "play", "record", "loop", "echo", "soak", "churn"})
        for (const Verdict verdict : {Verdict::passed, Verdict::failed})
            EXPECT_FALSE(doctorNote(command, verdict, nullptr).empty()) << command;
    EXPECT_TRUE(doctorNote("play", Verdict::nothingChecked, nullptr).empty());
}

TEST_F(DoctorRun, GoodDevices_PassAndWhatIsMissingIsToldSo) {
    EXPECT_EQ(examine(), 0) << errors();
    for (const char* title : {"The plug-in", "The list of devices", "Play on Fake Speaker", "Play on Fake Headphones",
                              "Record from Fake Microphone", "Record from Fake Headset", "All devices at once",
                              "Open and close in any order"})
        EXPECT_EQ(verdict(title), "passed") << title;
    EXPECT_EQ(verdict("Loop and echo"), "nothing checked") << "no device hears another";
    EXPECT_TRUE(m_document["findings"].empty());
    EXPECT_EQ(m_document["environment"]["plugin"]["name"], "Fake Sound");
    EXPECT_TRUE(pageSays("<h1>Passed</h1>"));
    EXPECT_TRUE(pageSays(", Fake Sound</p>"));
    EXPECT_TRUE(pageSays("Play on Fake Speaker: passed"));
    EXPECT_TRUE(pageSays("captured from Fake Microphone"));
    EXPECT_EQ(journal().find("FINALIZED-TOO-EARLY"), std::string::npos);
}

TEST_F(DoctorRun, OneFailure_DoesNotStopTheOthers) {
    misbehave("start-fails");
    EXPECT_EQ(examine(), 1);
    EXPECT_EQ(verdict("The plug-in"), "passed");
    EXPECT_EQ(verdict("The list of devices"), "passed");
    EXPECT_EQ(verdict("Play on Fake Speaker"), "failed");
    EXPECT_EQ(verdict("Record from Fake Headset"), "failed");
    EXPECT_EQ(verdict("All devices at once"), "failed");
    EXPECT_FALSE(m_document["findings"].empty());
    EXPECT_TRUE(pageSays("<h1>Failed</h1>"));
}

TEST_F(DoctorRun, PluginThatDoesNotRun_IsTheOnlyFinding) {
    misbehave("unsupported");
    EXPECT_EQ(examine(), 3);
    EXPECT_EQ(verdict("The plug-in"), "failed");
    EXPECT_EQ(m_document["doctor"]["checks"].size(), 1U);
}

TEST_F(DoctorRun, PluginThatDoesNotInitialize_IsTheOnlyFinding) {
    misbehave("initialize-fails");
    EXPECT_EQ(examine(), 3);
    EXPECT_EQ(verdict("The list of devices"), "failed");
    EXPECT_EQ(m_document["doctor"]["checks"].size(), 2U);
}

TEST_F(DoctorRun, NoDevices_GivesSeventySeven) {
    misbehave("no-devices");
    EXPECT_EQ(examine(), 77);
    EXPECT_EQ(verdict("Play"), "nothing checked");
    EXPECT_EQ(verdict("Record"), "nothing checked");
    EXPECT_EQ(m_document["findings"], Json({"There is no device that could be checked."}));
    EXPECT_TRUE(pageSays("<h1>Nothing checked</h1>"));
}

TEST_F(DoctorRun, CtrlC_LeavesWhatWasFoundSoFar) {
    std::jthread user([this] {
        std::this_thread::sleep_for(2500ms);
        m_interrupt.request();
    });
    EXPECT_EQ(examine(), 0) << errors();
    EXPECT_EQ(m_document["ended"], "interrupted");
    EXPECT_EQ(verdict("The list of devices"), "passed");
    EXPECT_EQ(verdict("Open and close in any order"), "");
    EXPECT_TRUE(pageSays("Until it was interrupted"));
}

TEST_F(DoctorRun, CtrlCAtOnce_GivesSeventySevenWithAFinding) {
    m_interrupt.request();
    EXPECT_EQ(examine(), 77);
    EXPECT_EQ(m_document["findings"].size(), 1U);
    EXPECT_EQ(m_document["ended"], "interrupted");
}

TEST_F(DoctorRun, CtrlCBeforeTheList_IsNoWordAboutTheNamedDevices) {
    m_interrupt.request();
    EXPECT_EQ(examine({"--device-playback", "Speaker", "--device-capture", "Microphone"}), 77);
    EXPECT_EQ(m_document["ended"], "interrupted");
}

TEST_F(DoctorRun, WrongName_GivesFiveAndKeepsWhatWasFoundBefore) {
    EXPECT_EQ(examine({"--device-playback", "gramophone", "--device-capture", "Microphone"}), 5);
    EXPECT_EQ(verdict("The list of devices"), "passed");
}

TEST_F(DoctorRun, LinesOfThePlugin_AreInTheReport) {
    misbehave("log-error");
    EXPECT_EQ(examine(), 1);
    EXPECT_GT(m_document["log"]["errors"], 0);
    EXPECT_TRUE(pageSays("something broke"));
}

} // namespace
} // namespace soundcheck
