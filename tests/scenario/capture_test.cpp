// Capture devices: open, loop, control.
#include "scenario.h"

#include <cstring>

SCENARIO(CaptureOpen, FirstSupportedFormat_IsChosen,
         "Stereo 16, mono 16, stereo 8 and mono 8 bits are tried in this order, always at 48000 Hz.") {
    struct Case {
        DWORD formats;
        std::uint32_t channels, bits, mask;
        const char* bytes;
    };
    const Case cases[] = {{0xFFFFF, 2, 16, 3, "bytes 192000 "},
                          {0x7FFF, 1, 16, 0x40000000, "bytes 96000 "},
                          {0x3FFF, 2, 8, 3, "bytes 96000 "},
                          {0x1FFF, 1, 8, 0x40000000, "bytes 48000 "}};
    Device& mic = sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 1;
    for (const Case& c : cases) {
        mic.captureFormats(c.formats);
        const Opened opened = client.open(mic, contextId);
        EXPECT_EQ(opened.result, 0);
        EXPECT_EQ(opened.channels, c.channels);
        EXPECT_EQ(opened.bits, c.bits);
        EXPECT_EQ(opened.rate, 48000u);
        EXPECT_EQ(opened.mask, c.mask);
        EXPECT_NE(sim.calls("DirectSoundCapture.CreateBuffer").back().arguments.find(c.bytes), std::string::npos);
        client.close(mic, contextId++);
    }
    client.waitForClosed();
    expectTrouble({});
    client.finalize();
}

SCENARIO(CaptureOpen, No48kHzFormat_NeverAnswers, "A capture device without any 48 kHz format is never answered.") {
    Device& mic = sim.capture("Mic").captureFormats(0xFFF);
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_TRUE(hangs([&] { client.open(mic); }, 10));
    mayEndStuck = true;
}

SCENARIO(CaptureOpen, AllocatedByOthers_AnswersMinus16Silently,
         "A device that another program holds answers -16 and logs nothing.") {
    Device& mic = sim.capture("Mic").allocatedByOthers();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(mic).result, -16);
    expectTrouble({});
    client.finalize();
}

SCENARIO(CaptureOpen, EachFailingCall_AnswersItsCodeAndLine,
         "Every failing call of open answers its own code, logs one line at level 1 and leaves nothing behind.") {
    const std::vector<std::pair<std::string, BackendResult>> cases = {
        {"CLSIDFromString", -202},
        {"DirectSoundCaptureCreate8", -206},
        {"DirectSoundCapture.GetCaps", -230},
        {"DirectSoundCapture.CreateBuffer", -207},
        {"CaptureBuffer.QueryInterface", -208},
        {"CaptureBuffer.GetFormat", -212},
        {"CaptureBuffer.GetCaps", -230},
    };
    Device& mic = sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    for (const auto& [call, code] : cases) {
        Rule& rule = sim.on(call).onCall(1).fails(DSERR_NODRIVER);
        client.logs.clear();
        EXPECT_EQ(client.open(mic).result, code) << call;
        EXPECT_EQ(rule.hits(), 1u) << call;
        expectTrouble({"unknown error: No sound driver is available for use (0x88780078)"});
        EXPECT_TRUE(sim.sound().living(mic).empty()) << call;
    }
    client.finalize();
}

SCENARIO(CaptureOpen, OtherFormatDelivered_IsTold,
         "A device that delivers another format than asked for opens and tells both in two lines.") {
    Device& mic = sim.capture("Mic").bufferKeeps({1, 44100, 16, std::nullopt});
    EXPECT_EQ(client.initialize(), 0);
    const Opened opened = client.open(mic);
    EXPECT_EQ(opened.result, 0);
    EXPECT_EQ(opened.channels, 1u);
    EXPECT_EQ(opened.rate, 44100u);
    expectLog(3, mic, "capture open requested 48000 16 2");
    expectLog(1, mic, "capture open got 44100 16 2");
    client.closeAndFinalize({&mic});
}

SCENARIO(CaptureLoop, Clocks_LoseNothing,
         "Smooth, 10 ms and 31.25 ms cursors with waits of at least 16 ms deliver every frame once and in order.") {
    EXPECT_EQ(client.initialize(), 0);
    for (const double step : {0.0, 10.0, 31.25}) {
        Device& mic = sim.capture("Mic " + std::to_string(step)).steps(step);
        sim.timerGranularity(16);
        EXPECT_EQ(client.open(mic).result, 0);
        EXPECT_EQ(client.start(mic), 0);
        sim.advance(5000);
        EXPECT_EQ(client.close(mic), 0);
        client.waitForClosed();
        const NumberedChecker captured = client.checkCaptured(mic);
        EXPECT_TRUE(captured.unbroken()) << step;
        EXPECT_GE(captured.frames(), 245u * 960u) << step;
    }
    expectTrouble({});
    client.finalize();
}

SCENARIO(CaptureLoop, Backlog_IsDrainedUpTo25BlocksAndDroppedBeyond,
         "A backlog of 25 blocks is delivered in order; with 26 the loop goes on at the current block.") {
    EXPECT_EQ(client.initialize(), 0);
    for (const int blocks : {25, 26}) {
        Device& mic = sim.capture("Mic " + std::to_string(blocks));
        EXPECT_EQ(client.open(mic).result, 0);
        sim.on("CaptureBuffer.GetCurrentPosition")
            .of(mic.label())
            .onCall(1)
            .takes(static_cast<unsigned>(blocks) * 20 - 21);
        EXPECT_EQ(client.start(mic), 0);
        sim.advance(1000);
        client.close(mic);
        client.waitForClosed();
        const NumberedChecker captured = client.checkCaptured(mic);
        EXPECT_TRUE(captured.unbroken());
        ASSERT_FALSE(client.captured.empty());
        const std::uint64_t first = blocks == 25 ? 0 : 26 * 960;
        std::uint16_t sample = 0;
        std::memcpy(&sample, client.captured.front().audio.data(), sizeof(sample));
        EXPECT_EQ(sample, numberedSample(first, 0, 16)) << blocks;
        EXPECT_GE(captured.frames(), 48'000 - first - 2 * 960) << "all that came afterwards";
        client.captured.clear();
    }
    client.finalize();
}

SCENARIO(CaptureControl, Failures_AnswerTheirCodes,
         "A failing start answers -223, a failing stop is logged; a device that is gone counts as stopped.") {
    Device& mic = sim.capture("Mic");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(mic, 1).result, 0);
    sim.on("CaptureBuffer.Start").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.start(mic, 1), -223);
    client.close(mic, 1);
    client.waitForClosed();
    client.logs.clear();
    EXPECT_EQ(client.open(mic, 2).result, 0);
    EXPECT_EQ(client.start(mic, 2), 0);
    sim.advance(100);
    sim.on("CaptureBuffer.Stop").onCall(1).fails(DSERR_NODRIVER);
    EXPECT_EQ(client.stop(mic, 2), 0);
    sim.advance(100);
    expectTrouble({});
    client.closeAndFinalize({&mic}, 2);
}
