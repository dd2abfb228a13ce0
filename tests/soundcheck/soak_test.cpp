// soak: its table, and the command against the fake plug-in, whose devices call every two milliseconds.
#include "command_run.h"
#include "commands/soak_row.h"
#include "report/document.h"

#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

SoakRow row(const std::string& name) {
    SoakRow result;
    result.name = name;
    result.state = SoakState::running;
    return result;
}

TEST(SoakTable, Lines_AreEquallyLongAndNameTheirDevice) {
    SoakRow captured = row("Mikrofon \xC3\xA4");
    captured.direction = ORVO_CAPTURE;
    captured.blocks = 1234;
    captured.peak = 16384;
    captured.associated = true;
    captured.withReference = 1200;
    captured.withoutReference = 34;
    const std::vector<SoakRow> rows = {row("Speaker"), captured};
    const std::vector<std::string> lines = soakTable(rows, 200);
    ASSERT_EQ(lines.size(), 3U);
    for (const std::string& line : lines)
        EXPECT_EQ(toWide(line).size(), toWide(lines[0]).size());
    EXPECT_EQ(lines[1].find("playback Speaker"), 0U);
    EXPECT_EQ(lines[2].find("capture  Mikrofon \xC3\xA4 running    1234     -6.0 "), 0U) << lines[2];
    EXPECT_NE(lines[2].find(" 1200      34"), std::string::npos);
}

TEST(SoakTable, NarrowTerminal_CutsTheNameOnly) {
    const std::vector<SoakRow> rows = {row("A very long name of a loudspeaker")};
    const std::string wide = soakTable(rows, 200)[1];
    const std::string narrow = soakTable(rows, wide.size() - 5)[1];
    EXPECT_EQ(narrow.size(), wide.size() - 5);
    EXPECT_NE(narrow.find("A very long name of a loudsp "), std::string::npos) << narrow;
}

TEST(SoakTable, UsualTerminal_ShowsEveryColumn) {
    const std::vector<SoakRow> rows = {row("A very long name of a loudspeaker")};
    for (const std::string& line : soakTable(rows, 79))
        EXPECT_EQ(line.size(), 79U);
}

class Soak : public test::CommandRun {
protected:
    Json section(std::size_t device) const { return Json::parse(output())["soak"]["devices"][device]; }
    std::size_t count(const std::string& words) const {
        const std::string text = output();
        std::size_t found = 0;
        for (std::size_t at = text.find(words); at != std::string::npos; at = text.find(words, at + 1))
            ++found;
        return found;
    }
};

TEST_F(Soak, AllDevices_RunAtOnceAndAreClosedAll) {
    EXPECT_EQ(run({"soak", "--seconds", "1.5"}), 0) << errors();
    EXPECT_EQ(journal(), "initialize open-1 open-1 open-2 open-2 associate associate start-1 start-1 start-2 start-2 "
                         "stop-1 stop-1 stop-2 stop-2 close-1 close-1 close-2 close-2 wait wait finalize ");
    EXPECT_EQ(count("summary command=soak device="), 4U);
    EXPECT_EQ(count(" state=running "), 4U);
    EXPECT_EQ(count(" ended=complete\n"), 4U);
    EXPECT_EQ(count("playback Fake Speaker"), 1U);
}

TEST_F(Soak, Document_HasTheNumbersOfEveryDevice) {
    EXPECT_EQ(run({"soak", "--seconds", "1.5", "--json", "--device", "capture:default"}), 0) << errors();
    const Json device = section(0);
    EXPECT_EQ(device["device"], "Fake Microphone");
    EXPECT_GT(device["blocks"], 50);
    EXPECT_GT(device["intervals"], 5);
    EXPECT_FALSE(device.contains("with_reference")); // no playback device, no association
    std::uint64_t sum = 0;
    for (const Json& bin : device["histogram_ms"])
        sum += bin.get<std::uint64_t>();
    EXPECT_EQ(sum, device["intervals"]);
    EXPECT_EQ(device["late_callbacks"].size(), device["late"]);
}

TEST_F(Soak, EchoReference_IsCountedPerBlock) {
    misbehave("alternating-reference");
    EXPECT_EQ(run({"soak", "--seconds", "0.3", "--json", "--device", "Fake Speaker", "--device", "Headset"}), 0)
        << errors();
    const Json captured = section(1);
    const auto with = captured["with_reference"].get<std::int64_t>();
    const auto without = captured["without_reference"].get<std::int64_t>();
    EXPECT_GT(with, 5);
    EXPECT_LE(std::abs(with - without), 1);
    EXPECT_FALSE(section(0).contains("with_reference"));
}

TEST_F(Soak, Playback_IsASoftTone) {
    EXPECT_EQ(run({"soak", "--seconds", "0.3", "--device", "playback:default"}), 0) << errors();
    EXPECT_TRUE(said(" peak_db=-40.0 "));
    const auto samples = played();
    EXPECT_EQ(std::count(samples.begin(), samples.end(), 0) * 20 > static_cast<std::ptrdiff_t>(samples.size()),
              false);
}

TEST_F(Soak, DeviceDoesNotOpen_TheOthersRunAndTheFindingNamesIt) {
    misbehave("capture-open-fails");
    EXPECT_EQ(run({"soak", "--seconds", "0.3"}), 1);
    EXPECT_TRUE(said("Fake Microphone: Opening the device failed"));
    EXPECT_EQ(count(" state=failed "), 2U);
    EXPECT_EQ(count(" state=running "), 2U);
    EXPECT_EQ(journal(), "initialize open-1 open-1 open-2 open-2 start-1 start-1 stop-1 stop-1 close-1 close-1 wait "
                         "wait finalize ");
}

TEST_F(Soak, NoDeviceOpens_GivesThree) {
    misbehave("open-fails");
    EXPECT_EQ(run({"soak", "--seconds", "0.3"}), 3);
}

TEST_F(Soak, DeviceFreezes_IsToldOnce) {
    misbehave("freeze");
    EXPECT_EQ(run({"soak", "--seconds", "2.5", "--device", "playback:default"}), 1);
    EXPECT_TRUE(said("Fake Speaker stands still: no block for more than a second. Closing and opening it again may "
                     "help"));
    EXPECT_TRUE(said(" state=stalled "));
    EXPECT_TRUE(said(" stalls=1 "));
    EXPECT_FALSE(said(" longest_gap_ms=0.00 ")); // a gap that lasts is one, too
}

TEST_F(Soak, MaxLate_DecidesTheVerdict) {
    misbehave("slow");
    EXPECT_EQ(run({"soak", "--seconds", "2", "--device", "playback:default"}), 0) << errors();
    EXPECT_EQ(run({"soak", "--seconds", "2", "--device", "playback:default", "--max-late", "1"}), 1);
    EXPECT_TRUE(said("Fake Speaker was late"));
    EXPECT_EQ(run({"soak", "--seconds", "2", "--device", "playback:default", "--max-late", "1000"}), 0);
}

TEST_F(Soak, CtrlC_ClosesEverythingAndGivesZero) {
    std::jthread user([this] {
        std::this_thread::sleep_for(500ms);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"soak"}), 0) << errors();
    EXPECT_EQ(count(" ended=interrupted\n"), 4U);
    EXPECT_NE(journal().find("close-1 close-1 close-2 close-2 wait wait finalize "), std::string::npos);
}

TEST_F(Soak, CtrlCBeforeTheFirstBlock_GivesSeventySeven) {
    misbehave("silent");
    std::jthread user([this] {
        std::this_thread::sleep_for(500ms);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"soak"}), 77);
    EXPECT_NE(journal().find("close-2 close-2 wait wait finalize "), std::string::npos);
}

TEST_F(Soak, CtrlCBeforeTheDevicesOpen_OpensNone) {
    m_interrupt.request();
    EXPECT_EQ(run({"soak"}), 77);
    EXPECT_EQ(journal(), "initialize wait wait finalize ");
}

TEST_F(Soak, NoDevice_GivesSeventySeven) {
    misbehave("no-devices");
    EXPECT_EQ(run({"soak"}), 77);
    EXPECT_TRUE(said("There is no device."));
}

TEST_F(Soak, WrongDevice_GivesFive) {
    EXPECT_EQ(run({"soak", "--device", "gramophone"}), 5);
}

} // namespace
} // namespace soundcheck
