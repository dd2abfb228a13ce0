// Starting, stopping, closing and unplugging a capture device.
#include "capture_scenario.h"

SCENARIO(CaptureControl, StartStopClose_MakesTheseCallsInThisOrder,
         "A capture device is started looping, stopped once, and its buffer is released before the device.") {
    Device& microphone = sim.capture("Microphone").freezes();
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(50);
    EXPECT_EQ(client.stop(microphone), 0);
    sim.advance(50);
    const std::vector<std::string> order{"CaptureBuffer.Start", "CaptureBuffer.Stop", "CaptureBuffer.Release",
                                         "DirectSoundCapture.Release"};
    EXPECT_EQ(callsAfterOpen(sim, microphone), order);
    EXPECT_EQ(sim.calls("CaptureBuffer.Start").at(0).arguments, "flags 1");
    for (const CallRecord& call : sim.script().callsBeginning("")) {
        if (call.subject == microphone.label()) {
            EXPECT_EQ(call.thread, sim.calls("CaptureBuffer.Start").at(0).thread) << call.name;
        }
    }
    client.closeAndFinalize({&microphone});
    EXPECT_EQ(callsAfterOpen(sim, microphone), order) << "a second release";
    expectTrouble({});
}

SCENARIO(CaptureControl, StartFails_AnswersTheCodeAndReleases,
         "A capture device that does not start answers -223 with a line, is released at once and stays unusable.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    sim.on("CaptureBuffer.Start").fails(kInvalidCall);
    EXPECT_EQ(client.start(microphone), -223);
    expectLog(1, microphone, kInvalidCallLine);
    expectTrouble({kInvalidCallLine});
    sim.advance(1);
    EXPECT_EQ(
        callsAfterOpen(sim, microphone),
        (std::vector<std::string>{"CaptureBuffer.Start", "CaptureBuffer.Release", "DirectSoundCapture.Release"}));
    EXPECT_EQ(client.start(microphone), -232);
    EXPECT_EQ(client.stop(microphone), 0);
    client.closeAndFinalize({&microphone});
    EXPECT_TRUE(client.captured.empty());
}

SCENARIO(CaptureControl, StopAnswersNoDriver_IsSilent, "Stopping a capture device that has gone away is a success.") {
    Device& microphone = sim.capture("Microphone").freezes();
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.on("CaptureBuffer.Stop").fails(kNoDriver);
    EXPECT_EQ(client.stop(microphone), 0);
    sim.advance(50);
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 1u);
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureControl, StopFails_IsLoggedAndTheDeviceReleased,
         "A capture device that fails to stop is told of in a line and released all the same.") {
    Device& microphone = sim.capture("Microphone").freezes();
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.on("CaptureBuffer.Stop").fails(kInvalidCall);
    EXPECT_EQ(client.stop(microphone), 0);
    sim.advance(50);
    expectLog(1, microphone, kInvalidCallLine);
    expectTrouble({kInvalidCallLine});
    EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{});
    EXPECT_EQ(client.start(microphone), -232);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureControl, StopAnswersAnotherSuccess_CountsAsFailure,
         "Any answer to stop other than success and no driver counts as a failure, also one that is no error.") {
    sim.system().messages[1] = L"Odd.\r\n";
    sim.system().messages[0x0878000A] = L"Odder.\r\n";
    Device& first = sim.capture("First").freezes();
    Device& second = sim.capture("Second").freezes();
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, first);
    openAndStart(client, second);
    sim.on("CaptureBuffer.Stop").of("First").fails(1);
    sim.on("CaptureBuffer.Stop").of("Second").fails(0x0878000A);
    EXPECT_EQ(client.stop(first), 0);
    sim.advance(50);
    expectLog(1, first, "unknown error: Odd.");
    EXPECT_EQ(client.stop(second), 0);
    sim.advance(50);
    expectLog(1, second, "unknown error: Odder.");
    expectTrouble({"unknown error: Odd.", "unknown error: Odder."});
    client.closeAndFinalize({&first, &second});
}

SCENARIO(CaptureControl, UnpluggedWhileRunning_StopsByItselfWithOneLine,
         "A capture device that is unplugged while it runs ends with one line and is released.") {
    Device& microphone = sim.capture("Microphone");
    sim.capture("Other");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(500);
    microphone.unplug();
    sim.advance(100);
    expectLog(1, microphone, kNoDriverLine);
    expectTrouble({kNoDriverLine}); // of the cursor; the stop that follows is a success
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 1u);
    EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{});
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    EXPECT_EQ(client.stop(microphone), 0);
    EXPECT_EQ(client.start(microphone), -232);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureControl, GoneFromTheListsOnly_CapturesOn,
         "A running capture device that only leaves the lists goes on, and its removal is reported.") {
    Device& microphone = sim.capture("Microphone");
    sim.capture("Other");
    sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.at(2000, [&] { microphone.vanish(); });
    sim.advance(6000);
    EXPECT_FALSE(client.notifications.empty());
    EXPECT_GE(client.capturedCount, 297u);
    EXPECT_TRUE(client.checkCaptured(microphone).unbroken());
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureControl, ClosedWhileRunning_IsStoppedAndReleased,
         "Closing a running capture device stops it on its own thread and releases it; a failing stop is told.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    openAndStart(client, microphone);
    sim.advance(200);
    sim.on("CaptureBuffer.Stop").fails(kInvalidCall);
    EXPECT_EQ(client.close(microphone), 0);
    client.waitForClosed();
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 1u);
    EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{});
    expectTrouble({kInvalidCallLine});
    const std::uint64_t blocks = client.capturedCount;
    sim.advance(200);
    EXPECT_EQ(client.capturedCount, blocks);
    client.finalize();
}

SCENARIO(CaptureControl, ClosedWithoutStart_IsReleasedWithoutStop,
         "A capture device that was never started is released without being stopped.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    client.closeAndFinalize({&microphone});
    EXPECT_EQ(callsAfterOpen(sim, microphone),
              (std::vector<std::string>{"CaptureBuffer.Release", "DirectSoundCapture.Release"}));
}

SCENARIO(CaptureControl, CommandsOutOfOrder_AreAnsweredByState,
         "Stop before start changes nothing; a second start answers -232, before and after a stop.") {
    Device& microphone = sim.capture("Microphone").freezes();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.start(microphone), -121);
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_EQ(client.open(microphone).result, -120);
    EXPECT_EQ(client.stop(microphone), 0);
    EXPECT_EQ(client.start(microphone, 8), -144);
    EXPECT_EQ(client.start(microphone), 0);
    EXPECT_EQ(client.start(microphone), -232);
    EXPECT_EQ(client.stop(microphone, 8), -144);
    EXPECT_EQ(client.close(microphone, 8), -144);
    EXPECT_EQ(client.stop(microphone), 0);
    sim.advance(50);
    EXPECT_EQ(client.start(microphone), -232);
    EXPECT_EQ(sim.count("CaptureBuffer.Start"), 1u);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureControl, StopDoesNotWait_AndTheBacklogIsHandedOver,
         "Stop answers at once, and what was captured by then still reaches the client before the device stops.") {
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    bool stopped = false;
    client.onCapture = [&](const std::string&, AudioBlock&, AudioBlock*) {
        if (!stopped) {
            stopped = true;
            EXPECT_EQ(client.stop(microphone), 0);
            EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 0u);
        }
    };
    move(sim, microphone, 200);
    EXPECT_TRUE(stopped);
    EXPECT_EQ(blockNumbers(client, microphone), numbersFrom(0, 10));
    EXPECT_EQ(sim.count("CaptureBuffer.Stop"), 1u);
    client.closeAndFinalize({&microphone});
}
