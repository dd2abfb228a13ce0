// The memory for a device's format: taken by open, kept until the device is gone.
#include "render_support.h"

namespace {

constexpr DWORD kFormatBytes = 4000;

} // namespace

SCENARIO(
    Lifecycle, FormatOfADevice_LivesUntilTheDeviceIsGone,
    "A device keeps the 4000 bytes of its format while it is open, runs and has stopped, in both directions, and "
    "gives them back when it is closed.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    std::size_t open = 0;
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        EXPECT_EQ(scenario::render::liveOfSize(sim, kFormatBytes), ++open);
        client.start(*device);
        sim.advance(100);
        client.stop(*device);
        sim.advance(100);
        EXPECT_TRUE(sim.sound().living(*device).empty());
        EXPECT_EQ(scenario::render::liveOfSize(sim, kFormatBytes), open);
    }
    EXPECT_EQ(client.close(speaker), 0);
    client.waitForClosed();
    EXPECT_EQ(scenario::render::liveOfSize(sim, kFormatBytes), 1u);
    EXPECT_EQ(client.close(microphone), 0);
    client.waitForClosed();
    EXPECT_EQ(scenario::render::liveOfSize(sim, kFormatBytes), 0u);
    client.finalize();
}

SCENARIO(Lifecycle, FormatThatCannotBeRead_IsGivenBackByTheFailedOpen,
         "An open that fails with the format already allocated has given its memory back when it returns.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const char* call :
         {"Secondary.GetFormat", "Secondary.GetCaps", "CaptureBuffer.GetFormat", "CaptureBuffer.GetCaps"}) {
        std::size_t during = 0;
        sim.on(call).onCall(1).fails(DSERR_NODRIVER).does([&] {
            during = scenario::render::liveOfSize(sim, kFormatBytes);
        });
        EXPECT_LT(client.open(call[0] == 'S' ? speaker : microphone).result, 0) << call;
        EXPECT_EQ(during, 1u) << call;
        EXPECT_EQ(scenario::render::liveOfSize(sim, kFormatBytes), 0u) << call;
    }
    client.finalize();
}
