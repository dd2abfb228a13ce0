// From initialize to finalize.
#include "scenario.h"

SCENARIO(Lifecycle, InitializeAndFinalize_GivesEverythingBack,
         "A backend that is created and destroyed gives back all that it took.") {
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_NE(client.backend, nullptr);
    EXPECT_EQ(client.finalize(), 0);
}

SCENARIO(Lifecycle, PlaybackForOneSecond_IsHeardWithoutGap,
         "A playback device that is opened, started, stopped and closed plays what the client gives.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    const Opened opened = client.open(speaker);
    EXPECT_EQ(opened.result, 0);
    EXPECT_EQ(opened.channels, 2u);
    EXPECT_EQ(opened.rate, 48000u);
    EXPECT_EQ(opened.bits, 16u);
    EXPECT_EQ(opened.mask, 3u);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(1000);
    EXPECT_EQ(client.stop(speaker), 0);
    client.closeAndFinalize({&speaker});
    const NumberedChecker heard = speaker.checkHeard();
    EXPECT_TRUE(heard.unbroken()) << heard.frames() << " frames, " << heard.silence() << " silent, " << heard.breaks()
                                  << " breaks";
    EXPECT_GT(heard.frames(), 40000u);
    expectTrouble({});
}
