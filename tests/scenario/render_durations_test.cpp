// How the playback loop counts time: in unsigned 32-bit milliseconds, whatever the clock does.
#include "render_support.h"

using namespace scenario::render;

SCENARIO(RenderTiming, DurationsBeyondTwoThousandMillion_AreUnsigned,
         "A duration of more than 2^31 ms is told as the unsigned number that it is.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.GetCurrentPosition").onCall(1).does([&] { sim.system().clockStart += 3'000'000'000; });
    sim.advance(100);
    expectTrouble(
        {kLine + "outerLoop proc (2) time: 3000000000 msecs", kLine + "outerLoop proc (3) time: 3000000021 msecs"});
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderTiming, ClockThatGoesBack_TellsTheDifferenceUnsigned,
         "A clock that goes back by a millisecond during a step makes its duration 2^32 - 1 ms.") {
    Device& speaker = sim.playback("Speaker").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        --sim.system().clockStart;
        return client.fillNumberedBlock(device, block);
    };
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    expectTrouble({kLine + "m_DS->m_Callbacks.getPlaybackData time 4294967295 msecs"});
    client.closeAndFinalize({&speaker});
}
