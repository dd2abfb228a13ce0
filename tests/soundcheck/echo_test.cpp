// echo: the command against the fake plug-in, whose microphone hears what is played 160 ms behind its reference.
#include "command_run.h"
#include "report/document.h"

#include <chrono>
#include <thread>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

class Echo : public test::CommandRun {};

TEST_F(Echo, LagIsFoundAndConstant) {
    misbehave("echo");
    EXPECT_EQ(run({"echo", "--seconds", "5", "--max-spread", "0.1", "--json"}), 0) << errors();
    const Json section = Json::parse(output())["echo"];
    EXPECT_EQ(section["reference_markers"], 5);
    EXPECT_EQ(section["microphone_markers"], 5);
    EXPECT_EQ(section["pairs"], 5);
    EXPECT_EQ(section["lag_ms"], 160.0);
    EXPECT_EQ(section["lag_spread_ms"], 0.0);
    EXPECT_GT(section["correlation"], 0.99);
    ASSERT_EQ(section["lag"].size(), 5U);
    EXPECT_NEAR(section["lag"][4]["seconds"], 4.0, 0.001);
    EXPECT_EQ(journal(), "initialize open-1 open-2 associate start-1 start-2 stop-1 stop-2 close-1 close-2 wait wait "
                         "finalize ");
}

TEST_F(Echo, Keep_LeavesBothRecordings) {
    misbehave("echo");
    EXPECT_EQ(run({"echo", "--seconds", "1", "--keep", path("kept")}), 0) << errors();
    EXPECT_EQ(samplesOf(m_folder.file("kept/microphone.wav")).size(), 48000U * 2);
    EXPECT_EQ(samplesOf(m_folder.file("kept/reference.wav")).size(), 48000U * 2);
    EXPECT_TRUE(said("marker at 0.00 s: lag 160.00 ms"));
}

TEST_F(Echo, MicrophoneHearsNothing_GivesOne) {
    misbehave("echo deaf");
    EXPECT_EQ(run({"echo", "--seconds", "2"}), 1);
    EXPECT_TRUE(said("the microphone does not hear the loudspeaker"));
    EXPECT_FALSE(said("in the echo reference."));
}

TEST_F(Echo, NoReference_GivesOne) {
    misbehave("no-reference");
    EXPECT_EQ(run({"echo", "--seconds", "2"}), 1);
    EXPECT_TRUE(said("No marker was found in the echo reference."));
}

TEST_F(Echo, ReferenceComesTooLate_GivesOne) {
    misbehave("echo reference-late");
    EXPECT_EQ(run({"echo", "--seconds", "3"}), 1);
    EXPECT_TRUE(said(" lag_ms=-160.00 "));
    EXPECT_TRUE(said("comes later than the echo"));
}

TEST_F(Echo, CtrlCBeforeTheDevicesStart_GivesSeventySeven) {
    m_interrupt.request();
    EXPECT_EQ(run({"echo"}), 77);
    EXPECT_TRUE(said("before there was anything to judge"));
    EXPECT_EQ(journal(), "initialize open-1 open-2 associate close-2 close-1 wait finalize ");
}

TEST_F(Echo, DevicesGiveNoBlock_ThatIsTheOnlyFinding) {
    misbehave("silent");
    EXPECT_EQ(run({"echo"}), 1);
    EXPECT_TRUE(said("does not begin"));
    EXPECT_TRUE(said(" ended=gave-up\n"));
    EXPECT_FALSE(said("No marker"));
    EXPECT_FALSE(said("holds no samples"));
}

TEST_F(Echo, FolderThatCannotBe_GivesFour) {
    EXPECT_EQ(run({"echo", "--keep", path("speech.wav")}), 4);
    EXPECT_EQ(journal().find("open"), std::string::npos);
}

TEST_F(Echo, NoDevice_GivesSeventySeven) {
    misbehave("no-devices");
    EXPECT_EQ(run({"echo"}), 77);
}

} // namespace
} // namespace soundcheck
