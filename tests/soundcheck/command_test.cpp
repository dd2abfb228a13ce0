// The commands, run in this process against the fake plug-in: exit codes, summaries, files, and the calling order.
#include "command_run.h"
#include "commands/command.h"

#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

using Commands = test::CommandRun;

TEST_F(Commands, Usage_WrongCommandLines_GiveTwo) {
    EXPECT_EQ(runAsIs({}), 2);
    EXPECT_EQ(runAsIs({"sing"}), 2);
    EXPECT_EQ(runAsIs({"play"}), 2);
    EXPECT_EQ(runAsIs({"play", "x.wav", "--seconds", "-1"}), 2);
    EXPECT_EQ(runAsIs({"play", "x.wav", "--volume", "11"}), 2);
    EXPECT_EQ(runAsIs({"list", "--log", "chatty"}), 2);
    EXPECT_EQ(runAsIs({"talk", "x.wav"}), 2);
    EXPECT_FALSE(errors().empty());
}

TEST_F(Commands, Help_GivesZero) {
    EXPECT_EQ(runAsIs({"--help"}), 0);
    EXPECT_TRUE(said("record"));
    EXPECT_EQ(runAsIs({"play", "--help"}), 0);
}

TEST_F(Commands, Help_OfEveryCommand_EndsWithAnExample) {
    for (const auto& command : makeCommands()) {
        EXPECT_EQ(runAsIs({command->name(), "--help"}), 0);
        EXPECT_TRUE(said("Example:\n  soundcheck " + command->name())) << output();
    }
}

TEST_F(Commands, Library_MissingOrForeign_GivesThree) {
    EXPECT_EQ(runAsIs({"info", "--dll", path("missing.dll")}), 3);
    EXPECT_TRUE(said("missing.dll"));
    EXPECT_EQ(runAsIs({"info", "--dll", "kernel32.dll"}), 3);
}

TEST_F(Commands, Info_TellsAboutPluginAndSystem) {
    EXPECT_EQ(run({"info"}), 0);
    EXPECT_TRUE(said("Fake Sound"));
    EXPECT_TRUE(said("1 200"));
    EXPECT_TRUE(said("fake_backend.dll"));
}

TEST_F(Commands, Info_Unsupported_GivesThreeWithCodeAndText) {
    misbehave("unsupported");
    EXPECT_EQ(run({"info"}), 3);
    EXPECT_TRUE(said("NOTSUPPORTED (-4)"));
}

TEST_F(Commands, NoDevices_GivesSeventySeven) {
    misbehave("no-devices");
    EXPECT_EQ(run({"list"}), 77);
    EXPECT_EQ(run({"play", path("speech.wav")}), 77);
    EXPECT_EQ(run({"record", path("x.wav")}), 77);
    EXPECT_EQ(run({"talk", path("speech.wav"), "--echo-to", path("e.wav"), "--record-to", path("m.wav")}), 77);
}

TEST_F(Commands, Play_EverySampleArrivesInOrder) {
    EXPECT_EQ(run({"play", path("speech.wav")}), 0) << errors();
    EXPECT_EQ(played(), m_speech);
    EXPECT_EQ(journal(), "initialize open-1 start-1 stop-1 close-1 wait wait finalize ");
    EXPECT_TRUE(said("summary command=play device=\"Fake Speaker\" rate=48000 channels=2 "));
    EXPECT_TRUE(said(" frames=24123 underruns=0 "));
    EXPECT_TRUE(said(" ended=complete\n"));
}

TEST_F(Commands, Play_Seconds_CutsExactly) {
    EXPECT_EQ(run({"play", path("speech.wav"), "--seconds", "0.25"}), 0);
    EXPECT_EQ(played().size(), 2U * 12000);
}

TEST_F(Commands, Play_SilenceFollows_UntilTheEndIsHeard) {
    EXPECT_EQ(run({"play", path("speech.wav"), "--seconds", "0.02"}), 0);
    const std::string text = output();
    const std::size_t place = text.find(" blocks=");
    ASSERT_NE(place, std::string::npos);
    EXPECT_GE(std::stoi(text.substr(place + 8)), 1 + 25);
}

TEST_F(Commands, Play_WrongFileOrDevice_GivesFourOrFive) {
    EXPECT_EQ(run({"play", path("missing.wav")}), 4);
    EXPECT_EQ(run({"play", pathText(m_folder.path())}), 4);
    EXPECT_EQ(run({"play", path("speech.wav"), "--device", "gramophone"}), 5);
    EXPECT_EQ(run({"play", path("speech.wav"), "--device", "fake"}), 5);
    EXPECT_TRUE(said("more than one"));
    EXPECT_EQ(journal().find("open"), std::string::npos);
}

TEST_F(Commands, Play_PluginFails_GivesThreeAndShutsDownInOrder) {
    misbehave("open-fails");
    EXPECT_EQ(run({"play", path("speech.wav")}), 3);
    EXPECT_TRUE(said("Opening the device failed: unknown error (-228)."));
    misbehave("start-fails");
    EXPECT_EQ(run({"play", path("speech.wav")}), 3);
    EXPECT_EQ(journal(), "initialize open-1 wait finalize initialize open-1 start-1 close-1 wait finalize ");
    misbehave("initialize-fails");
    EXPECT_EQ(run({"play", path("speech.wav")}), 3);
}

TEST_F(Commands, Play_PluginReportsAnError_GivesOneAndShowsTheLine) {
    misbehave("log-error");
    EXPECT_EQ(run({"play", path("speech.wav"), "--log", "error"}), 1);
    EXPECT_TRUE(said("plug-in error: something broke [{11111111-0000-0000-0000-000000000001}]"));
    EXPECT_TRUE(said(" log_errors=1 "));
    EXPECT_EQ(run({"play", path("speech.wav"), "--log", "none"}), 1);
    EXPECT_FALSE(said("something broke"));
}

TEST_F(Commands, Play_DeviceFreezes_IsToldOnceAndCtrlCEndsIt) {
    misbehave("freeze");
    std::jthread user([this] {
        std::this_thread::sleep_for(2500ms);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"play", path("speech.wav")}), 1);
    const std::string text = errors();
    const std::size_t first = text.find("Fake Speaker stands still");
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(text.find("Fake Speaker stands still", first + 1), std::string::npos);
    EXPECT_TRUE(said(" stalls=1 "));
    EXPECT_TRUE(said(" ended=interrupted\n"));
    EXPECT_EQ(journal(), "initialize open-1 start-1 stop-1 close-1 wait wait finalize ");
}

TEST_F(Commands, Record_FileHoldsEveryBlockInOrder) {
    EXPECT_EQ(run({"record", path("aufnahme \xC3\xA4.wav"), "--seconds", "1", "--device", "microphone"}), 0)
        << errors();
    const auto samples = samplesOf(m_folder.file("aufnahme \xC3\xA4.wav"));
    ASSERT_EQ(samples.size(), 48000U * 2);
    for (std::size_t i = 0; i < samples.size(); ++i)
        ASSERT_EQ(samples[i], static_cast<std::int16_t>(1 + i / 1920)) << i;
    EXPECT_TRUE(said(" frames=48000 dropped=0 "));
    EXPECT_EQ(journal(), "initialize open-2 start-2 stop-2 close-2 wait wait finalize ");
}

TEST_F(Commands, Record_EightBitDevice_WritesAnEightBitFile) {
    misbehave("eight-bits");
    EXPECT_EQ(run({"record", path("x.wav"), "--seconds", "0.1"}), 0) << errors();
    const WavReader reader(m_folder.file("x.wav"));
    EXPECT_EQ(reader.format().encoding, SampleEncoding::Unsigned8);
    EXPECT_EQ(reader.frames(), 4800U);
}

TEST_F(Commands, Record_CtrlC_LeavesAReadableFileAndGivesZero) {
    std::jthread user([this] {
        std::this_thread::sleep_for(500ms);
        m_interrupt.request();
    });
    EXPECT_EQ(run({"record", path("x.wav")}), 0) << errors();
    EXPECT_TRUE(said(" ended=interrupted\n"));
    EXPECT_GT(samplesOf(m_folder.file("x.wav")).size(), 1920U);
}

TEST_F(Commands, Record_UnwritableFile_GivesFourAndClosesTheDevice) {
    EXPECT_EQ(run({"record", path("missing/x.wav"), "--seconds", "1"}), 4);
    EXPECT_EQ(journal(), "initialize open-2 close-2 wait finalize ");
}

TEST_F(Commands, Talk_FilesAreAlignedBlockByBlock) {
    misbehave("alternating-reference");
    EXPECT_EQ(run({"talk", path("speech.wav"), "--echo-to", path("e.wav"), "--record-to", path("m.wav")}), 0)
        << errors();
    const auto microphone = samplesOf(m_folder.file("m.wav"));
    const auto echo = samplesOf(m_folder.file("e.wav"));
    ASSERT_EQ(microphone.size(), echo.size());
    ASSERT_GT(microphone.size(), m_speech.size());
    for (std::size_t i = 0; i < echo.size(); ++i)
        ASSERT_EQ(echo[i], microphone[i] % 2 == 0 ? 0 : -microphone[i]) << i;
    EXPECT_EQ(played(), m_speech);
    EXPECT_EQ(journal(), "initialize open-1 open-2 associate start-1 start-2 stop-2 close-2 wait stop-1 close-1 wait "
                         "wait finalize ");
}

TEST_F(Commands, Talk_NoReferenceAtAll_GivesOne) {
    misbehave("no-reference");
    EXPECT_EQ(run({"talk", path("speech.wav"), "--echo-to", path("e.wav"), "--record-to", path("m.wav")}), 1);
    EXPECT_TRUE(said(" with_reference=0 "));
    EXPECT_TRUE(said("No echo reference came at all."));
}

TEST_F(Commands, Talk_AnnouncedRateIsWrong_GivesOne) {
    misbehave("odd-echo");
    EXPECT_EQ(run({"talk", path("speech.wav"), "--echo-to", path("e.wav"), "--record-to", path("m.wav")}), 1);
    EXPECT_TRUE(said("announced with 44100 Hz"));
}

TEST_F(Commands, Talk_BothFilesTheSame_GivesFour) {
    EXPECT_EQ(run({"talk", path("speech.wav"), "--echo-to", path("m.wav"), "--record-to", path("m.wav")}), 4);
}

} // namespace
} // namespace soundcheck
