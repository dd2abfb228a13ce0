// From initialize to finalize, and the road of a device from open to close.
#include "scenario.h"

SCENARIO(Lifecycle, InitializeAndFinalize_GivesEverythingBack,
         "A backend that is created and destroyed gives back all that it took.") {
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_NE(client.backend, nullptr);
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_EQ(sim.ledger().takenEver(Kind::window), 1u);
    EXPECT_EQ(sim.ledger().takenEver(Kind::timerPeriod), 1u);
}

SCENARIO(Lifecycle, Initialize_RaisesTheTimerResolutionAndSaysSo,
         "Initialize raises the timer resolution to the smallest period and logs it with an empty category.") {
    sim.system().timerMinimum = 4;
    EXPECT_EQ(client.initialize(), 0);
    ASSERT_EQ(client.logs.size(), 1u);
    EXPECT_EQ(client.logs[0].text, "setting timer resolution to 4ms");
    EXPECT_EQ(client.logs[0].level, 3);
    EXPECT_EQ(client.logs[0].category, "");
    EXPECT_EQ(sim.calls("timeBeginPeriod").at(0).arguments, "4");
    client.finalize();
    EXPECT_EQ(sim.calls("timeEndPeriod").at(0).arguments, "4");
}

SCENARIO(Lifecycle, InitializeWithoutLog_StillRaisesTheTimerResolution,
         "Without a log callback the timer resolution is raised all the same.") {
    client.callbacks.logMessage = nullptr;
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(sim.count("timeBeginPeriod"), 1u);
    client.finalize();
    EXPECT_EQ(sim.count("timeEndPeriod"), 1u);
}

SCENARIO(Lifecycle, TimerCapsFail_LeaveTheTimerAlone,
         "When the timer's capabilities cannot be read nothing is raised, logged or restored.") {
    sim.on("timeGetDevCaps").fails();
    EXPECT_EQ(client.initialize(), 0);
    client.finalize();
    EXPECT_TRUE(client.logs.empty());
    EXPECT_EQ(sim.count("timeBeginPeriod"), 0u);
    EXPECT_EQ(sim.count("timeEndPeriod"), 0u);
}

SCENARIO(Lifecycle, WindowFails_InitializeAnswersMinus8,
         "Without the hidden window initialize answers -8, leaves null, and says why on standard error.") {
    sim.on("CreateWindowExW").failsWithError(1158);
    client.backend = reinterpret_cast<DirectSoundBackend*>(0x1000);
    EXPECT_EQ(client.initialize(), -8);
    EXPECT_EQ(client.backend, nullptr);
    expectErrorLines({"CreateWindow error 1158"});
    EXPECT_EQ(sim.count("_beginthreadex"), 0u);
}

SCENARIO(Lifecycle, HiddenWindow_IsMessageOnly,
         "The hidden window is a message-only BUTTON titled Orvo_DirectSound.") {
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(sim.calls("CreateWindowExW").at(0).arguments, "BUTTON Orvo_DirectSound zero message-only process");
    client.finalize();
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
    EXPECT_EQ(heard.frames(), 48000u - 5 * 960u);
    EXPECT_EQ(heard.leadIn(), 5 * 960u) << "the cushion of five blocks";
    EXPECT_EQ(speaker.heard.lateWrites, 0u);
    expectTrouble({});
}

SCENARIO(Lifecycle, OpenTwice_IsRefusedTheSecondTime,
         "An identifier is open once per direction; the second open answers -120.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    const Opened second = client.open(speaker, 8);
    EXPECT_EQ(second.result, -120);
    EXPECT_EQ(second.channels, kUntouched);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Lifecycle, SameIdentifierInBothDirections_OpensTwice,
         "The same identifier may be open for playback and for capture at the same time.") {
    Device& out = sim.playback("Headset out");
    Device& in = sim.capture("Headset in").withGuid(out.guid());
    EXPECT_EQ(out.id(), in.id());
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(out).result, 0);
    EXPECT_EQ(client.open(in).result, 0);
    client.closeAndFinalize({&out, &in});
}

SCENARIO(Lifecycle, UnknownOrForeignDevice_IsRefused,
         "Start, stop and close answer -121 for what is not open and -144 for another context number.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.start(speaker), -121);
    EXPECT_EQ(client.stop(speaker), -121);
    EXPECT_EQ(client.close(speaker), -121);
    EXPECT_EQ(client.open(speaker, 7).result, 0);
    EXPECT_EQ(client.start(speaker, 8), -144);
    EXPECT_EQ(client.stop(speaker, 8), -144);
    EXPECT_EQ(client.close(speaker, 8), -144);
    EXPECT_EQ(client.start(speaker, 7), 0) << "the wrong numbers have changed nothing";
    client.closeAndFinalize({&speaker});
}

SCENARIO(Lifecycle, StartAfterStop_IsOutOfOrder, "A device runs once: a start after a stop answers -232.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    EXPECT_EQ(client.start(speaker), -232) << "it runs already";
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(100);
    EXPECT_EQ(client.start(speaker), -232);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Lifecycle, StopWithoutStart_IsNoError,
         "Stopping a device that does not run answers 0 and changes nothing.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.stop(speaker), 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    EXPECT_GT(client.requestCount, 0u);
    client.closeAndFinalize({&speaker});
}

SCENARIO(Lifecycle, CloseThenOpen_SucceedsAtOnce,
         "An identifier can be opened again right after its close, before the old context is gone.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker, 1).result, 0);
    EXPECT_EQ(client.start(speaker, 1), 0);
    EXPECT_EQ(client.close(speaker, 1), 0);
    EXPECT_EQ(client.open(speaker, 2).result, 0);
    client.closeAndFinalize({&speaker}, 2);
}

SCENARIO(Lifecycle, WaitWithNothingToClose_ReturnsAtOnce,
         "Waiting for closed devices answers at once and writes nothing when there are none.") {
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_EQ(sim.now(), 0);
    expectErrorLines({});
    client.finalize();
}

SCENARIO(Lifecycle, WaitForClosed_SaysSoAndComesBackWhenTheDeviceIsGone,
         "Waiting for closed devices writes one line and returns when their contexts are destroyed.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    expectErrorLines({"Waiting for device to close"});
    client.finalize();
}

SCENARIO(Lifecycle, FinalizeWithClosedDevice_ClosesItItself,
         "What was handed over for closing is closed by finalize at the latest.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
}

SCENARIO(Lifecycle, ComFailsOnTheWorker_OpenNeverAnswers,
         "When COM cannot be initialized on the worker its error goes to standard error and open waits for ever.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    sim.system().messages[0x8007000E] = L"Not enough storage.\r\n";
    sim.on("CoInitializeEx").onCall(1).fails(E_OUTOFMEMORY); // after the monitor has had its own
    sim.advance(1);
    sim.on("CoInitializeEx").fails(E_OUTOFMEMORY);
    EXPECT_TRUE(hangs([&] { client.open(speaker); }));
    mayEndStuck = true;
}

SCENARIO(Lifecycle, WorkerThreadFails_OpenAnswersUnknown,
         "When no worker thread can be started open answers -233 and leaves nothing behind.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    sim.on("_beginthreadex").fails();
    EXPECT_EQ(client.open(speaker).result, -233);
    client.finalize();
}

SCENARIO(Lifecycle, FinalizeWhileTheMonitorSleeps_DoesNotWaitForItsSecond,
         "Finalize wakes the monitor thread instead of waiting for its second to pass.") {
    EXPECT_EQ(client.initialize(), 0);
    sim.advance(300);
    client.finalize();
    EXPECT_EQ(sim.now(), 300);
}

SCENARIO(Lifecycle, Threads_HaveTheirPriorities,
         "The monitor thread runs at normal priority, workers time-critical; both initialize COM multithreaded.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    sim.advance(1);
    EXPECT_EQ(client.open(speaker).result, 0);
    const auto priorities = sim.calls("SetThreadPriority");
    ASSERT_EQ(priorities.size(), 2u);
    EXPECT_EQ(priorities[0].arguments, "0");
    EXPECT_EQ(priorities[1].arguments, "15");
    for (const CallRecord& call : sim.calls("CoInitializeEx"))
        EXPECT_EQ(call.arguments, "flags 0");
    client.closeAndFinalize({&speaker});
}
