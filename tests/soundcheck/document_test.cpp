// What a run leaves for machines: one whole document, whatever the end, made of the same numbers as the summary.
#include "command_run.h"
#include "console/call_watch.h"
#include "orvosoundbackend.h"
#include "report/document.h"
#include "report/summary.h"

#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

class JsonRun : public test::CommandRun {
protected:
    /** Standard output as a document; throws when it holds anything else. */
    Json document() const { return Json::parse(output()); }
};

TEST(Document, Members_StandInOrderAndTheEndIsTold) {
    Document document("play");
    document.set("play", {{"blocks", 3}});
    document.addFinding("A device stood still.");
    document.setEnded("gave-up");
    document.log().add("", "timer period 1 ms", 3, LogRecord::Clock::now());
    document.log().add("{1}", "something broke", 1, LogRecord::Clock::now());
    const Json whole = document.json(ExitCode::checkFailed);
    std::string names;
    for (const auto& member : whole.items())
        names += member.key() + " ";
    EXPECT_EQ(names, "soundcheck command environment play log findings ended exit_code ");
    EXPECT_EQ(whole["soundcheck"]["schema"], 1);
    EXPECT_EQ(whole["play"]["blocks"], 3);
    EXPECT_EQ(whole["log"]["errors"], 1);
    EXPECT_EQ(whole["log"]["information"], 1);
    EXPECT_EQ(whole["log"]["lines"][0]["device"], nullptr);
    EXPECT_EQ(whole["log"]["lines"][1]["device"], "{1}");
    EXPECT_EQ(whole["log"]["lines"][1]["level"], "error");
    EXPECT_EQ(whole["findings"], Json({"A device stood still."}));
    EXPECT_EQ(whole["ended"], "gave-up");
    EXPECT_EQ(whole["exit_code"], 1);
}

TEST(Document, NameCutInsideACharacter_IsStillValidText) {
    Document document("");
    document.set("list", {{"name", "Lautsprecher \xC3"}});
    EXPECT_EQ(Json::parse(document.text(ExitCode::done))["list"]["name"], "Lautsprecher \xEF\xBF\xBD");
    EXPECT_EQ(document.json(ExitCode::done)["command"], nullptr);
}

TEST(LogRecord, FloodOfLines_KeepsTheFirstAndTheLast) {
    const LogRecord::Clock::time_point began;
    LogRecord record(began);
    constexpr int kLines = 1000;
    for (int i = 0; i < kLines; ++i)
        record.add("", std::to_string(i), ORVO_LOG_WARNING, began + i * 10ms);
    const LogRecord::Kept kept = record.kept();
    ASSERT_EQ(kept.lines.size(), LogRecord::kFirstLines + LogRecord::kLastLines);
    EXPECT_EQ(kept.leftOut, kLines - kept.lines.size());
    EXPECT_EQ(kept.lines[LogRecord::kFirstLines - 1].text, "299");
    EXPECT_EQ(kept.lines[LogRecord::kFirstLines].text, "700");
    EXPECT_EQ(kept.lines.back().text, "999");
    EXPECT_DOUBLE_EQ(kept.lines.back().seconds, 9.99);
    EXPECT_EQ(record.count(ORVO_LOG_WARNING), 1000U);
}

TEST(Summary, LineAndValues_HoldTheSame) {
    Summary summary;
    summary.addQuoted("device", "a \"b\"").add("blocks", std::uint64_t{7}).add("rate_percent", 99.987, 2);
    EXPECT_EQ(summary.text(), " device=\"a \\\"b\\\"\" blocks=7 rate_percent=99.99");
    EXPECT_EQ(summary.values().dump(), R"({"device":"a \"b\"","blocks":7,"rate_percent":99.99})");
}

TEST(CallWatch, CallThatHangs_IsToldOnce) {
    std::vector<std::string> told;
    {
        const CallWatch watch(
            "Opening it", [&](std::string_view sentence) { told.emplace_back(sentence); }, 20ms);
        std::this_thread::sleep_for(200ms);
    }
    EXPECT_EQ(told, std::vector<std::string>{"Opening it does not come to an end; soundcheck gives up."});
}

TEST(CallWatch, CallThatReturns_IsNotTold) {
    bool told = false;
    for (int i = 0; i < 100; ++i)
        const CallWatch watch("Opening it", [&](std::string_view) { told = true; });
    EXPECT_FALSE(told);
}

TEST_F(JsonRun, EveryCommand_WritesOneDocumentAndNothingElse) {
    const std::vector<std::vector<std::string>> runs = {
        {"info"},
        {"list"},
        {"play", path("speech.wav")},
        {"record", path("x.wav"), "--seconds", "0.2"},
        {"talk", path("speech.wav"), "--echo-to", path("e.wav"), "--record-to", path("m.wav")}};
    for (std::vector<std::string> arguments : runs) {
        const std::string command = arguments.front();
        arguments.emplace_back("--json");
        EXPECT_EQ(run(arguments), 0) << command << errors();
        const Json found = document();
        EXPECT_EQ(found["command"], command);
        EXPECT_TRUE(found[command].is_object()) << command;
        EXPECT_EQ(found["environment"]["plugin"]["name"], "Fake Sound") << command;
        EXPECT_EQ(found["ended"], "complete") << command;
        EXPECT_EQ(found["exit_code"], 0) << command;
        EXPECT_TRUE(found["findings"].empty()) << command;
    }
}

TEST_F(JsonRun, Play_HasTheNumbersOfTheSummary) {
    EXPECT_EQ(run({"play", path("speech.wav"), "--json"}), 0);
    const Json section = document()["play"];
    EXPECT_EQ(section["device"], "Fake Speaker");
    EXPECT_EQ(section["frames"], 24123);
    EXPECT_EQ(section["stalls"], 0);
}

TEST_F(JsonRun, Failures_HaveAFindingAndTheExitCode) {
    const std::vector<std::pair<int, std::vector<std::string>>> runs = {
        {2, {"sing"}},
        {2, {"play"}},
        {4, {"play", path("missing.wav")}},
        {5, {"play", path("speech.wav"), "--device", "gramophone"}},
        {3, {"info", "--dll", path("missing.dll")}}};
    for (auto [code, arguments] : runs) {
        arguments.emplace_back("--json");
        const bool ownLibrary = std::find(arguments.begin(), arguments.end(), "--dll") == arguments.end();
        EXPECT_EQ(ownLibrary ? run(arguments) : runAsIs(arguments), code) << arguments.front();
        const Json found = document();
        EXPECT_EQ(found["exit_code"], code) << arguments.front();
        EXPECT_EQ(found["findings"].size(), 1U) << arguments.front();
        EXPECT_EQ(found["ended"], "failed") << arguments.front();
        EXPECT_FALSE(errors().empty()) << arguments.front();
    }
}

TEST_F(JsonRun, NoDevices_GivesSeventySevenWithAFinding) {
    misbehave("no-devices");
    EXPECT_EQ(run({"list", "--json"}), 77);
    EXPECT_EQ(document()["findings"], Json({"There is no device."}));
    EXPECT_EQ(run({"record", path("x.wav"), "--json"}), 77);
    EXPECT_EQ(document()["exit_code"], 77);
}

TEST_F(JsonRun, PluginLines_AreKeptWhateverIsShown) {
    misbehave("log-error");
    EXPECT_EQ(run({"play", path("speech.wav"), "--log", "none", "--json"}), 1);
    const Json found = document();
    EXPECT_EQ(found["log"]["errors"], 1);
    EXPECT_EQ(found["log"]["lines"][0]["text"], "something broke");
    EXPECT_GT(found["log"]["lines"][0]["seconds"], 0.0);
    EXPECT_EQ(found["findings"], Json({"The plug-in reported 1 error(s)."}));
    EXPECT_FALSE(said("plug-in error"));
}

TEST_F(JsonRun, CtrlCBeforeTheFirstBlock_GivesSeventySeven) {
    m_interrupt.request();
    misbehave("silent");
    EXPECT_EQ(run({"record", path("x.wav"), "--json"}), 77);
    const Json found = document();
    EXPECT_EQ(found["ended"], "interrupted");
    EXPECT_EQ(found["findings"], Json({"It was interrupted before there was anything to judge."}));
    EXPECT_EQ(journal(), "initialize open-2 start-2 stop-2 close-2 wait wait finalize ");
}

} // namespace
} // namespace soundcheck
