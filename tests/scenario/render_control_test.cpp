// Start, stop and close of a playback device.
#include "scenario.h"

SCENARIO(RenderControl, EachFailingCallOfStart_AnswersItsCode,
         "Lock, unlock and play failing in start answer -204, -205 and -221, each with one line.") {
    const std::vector<std::pair<std::string, BackendResult>> cases = {
        {"Secondary.Lock", -204}, {"Secondary.Unlock", -205}, {"Secondary.Play", -221}};
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const auto& [call, code] : cases) {
        client.logs.clear();
        EXPECT_EQ(client.open(speaker, contextId).result, 0);
        sim.on(call).onCall(1).fails(DSERR_PRIOLEVELNEEDED);
        EXPECT_EQ(client.start(speaker, contextId), code) << call;
        expectTrouble({"unknown error: The function requires a higher priority level (0x88780046)"});
        EXPECT_EQ(client.start(speaker, contextId), -232) << "it has failed for good";
        EXPECT_EQ(client.stop(speaker, contextId), 0);
        EXPECT_EQ(client.close(speaker, contextId++), 0);
        client.waitForClosed();
    }
    client.finalize();
}

SCENARIO(RenderControl, Start_ClearsTheWholeBufferAndPlaysLooping,
         "Start clears the whole buffer and plays it looping.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    EXPECT_EQ(sim.calls("Secondary.Lock").at(0).arguments, "0 0 flags 2");
    EXPECT_EQ(sim.calls("Secondary.Unlock").at(0).arguments, "192000 0");
    EXPECT_EQ(sim.calls("Secondary.Play").at(0).arguments, "0 0 flags 1");
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderControl, StopOfALostBuffer_IsSuccess, "A lost buffer counts as stopped and logs nothing for it.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    speaker.losesBuffers();
    sim.advance(100);
    expectTrouble({"unknown error: Buffer memory has been lost, and must be restored (0x88780096)"});
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(RenderControl, FailingStop_IsLogged, "Any other result of stop than success is logged with one line.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.Stop").fails(DSERR_PRIOLEVELNEEDED);
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(100);
    expectTrouble({"unknown error: The function requires a higher priority level (0x88780046)"});
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    RenderControl, Close_ReleasesPrimaryBufferAndDeviceInThisOrder,
    "Close releases the primary buffer, the buffer and the device object, in this order, on the worker thread.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    const std::size_t before = sim.script().callsBeginning("Secondary.Release").size();
    EXPECT_EQ(before, 1u);
    EXPECT_EQ(client.close(speaker), 0);
    client.waitForClosed();
    EXPECT_EQ(sim.calls("Primary.Release").at(0).thread, "thread2");
    EXPECT_EQ(sim.calls("Secondary.Release").at(1).thread, "thread2");
    EXPECT_EQ(sim.calls("DirectSound.Release").at(0).thread, "thread2");
    client.finalize();
}
