// `list`: what is there, and what really opens.
#include "command_run.h"
#include "report/document.h"

namespace soundcheck {
namespace {

using List = test::CommandRun;

TEST_F(List, Plain_OpensNothing) {
    EXPECT_EQ(run({"list"}), 0);
    EXPECT_TRUE(said("  1 * {11111111-0000-0000-0000-000000000001}  Fake Speaker\n"));
    EXPECT_TRUE(said("  2   {22222222-0000-0000-0000-000000000002}  Fake Headset\n"));
    EXPECT_EQ(journal(), "initialize wait finalize ");
}

TEST_F(List, Formats_OpensOneDeviceAfterTheOther) {
    misbehave("eight-bits");
    EXPECT_EQ(run({"list", "--formats"}), 0);
    EXPECT_TRUE(said("Fake Speaker\n        opens with 48000 Hz, 2 channels, 16 bits, mask 3\n"));
    EXPECT_TRUE(said("Fake Headset\n        opens with 48000 Hz, 2 channels, 8 bits, mask 3\n"));
    EXPECT_EQ(journal(), "initialize open-1 close-1 wait open-1 close-1 wait open-2 close-2 wait open-2 close-2 wait "
                         "wait finalize ");
}

TEST_F(List, FormatsOfADeviceThatDoesNotOpen_TellsWhyAndGoesOn) {
    misbehave("capture-open-fails");
    EXPECT_EQ(run({"list", "--formats"}), 1);
    EXPECT_TRUE(said("Fake Speaker\n        opens with "));
    EXPECT_TRUE(said("Fake Headset\n        Opening the device failed: unknown error (-228).\n"));
    EXPECT_TRUE(
        said("soundcheck: Fake Microphone does not open: Opening the device failed: unknown error (-228).\n"));
}

TEST_F(List, FormatsAsDocument_EachDeviceHasAFormatOrAFailure) {
    misbehave("capture-open-fails");
    EXPECT_EQ(run({"list", "--formats", "--json"}), 1);
    const Json list = Json::parse(output())["list"];
    EXPECT_EQ(list["playback"][1]["format"].dump(), R"({"channels":2,"bits":16,"rate":48000,"mask":3})");
    EXPECT_EQ(list["capture"][1]["failure"], "Opening the device failed: unknown error (-228).");
}

TEST_F(List, FormatsInterrupted_OpensNothingAndGivesSeventySeven) {
    m_interrupt.request();
    EXPECT_EQ(run({"list", "--formats"}), 77);
    EXPECT_EQ(journal(), "initialize wait finalize ");
}

} // namespace
} // namespace soundcheck
