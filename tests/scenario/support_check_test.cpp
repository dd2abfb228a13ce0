// isSupported: whether DirectSound works here at all.
#include "discovery.h"

SCENARIO(SupportCheck, EnumerationWorks_IsSupportedWithAndWithoutBackend,
         "The backend is supported where DirectSound's playback enumeration works, asked with or without a backend, "
         "any number of times, and nothing is written.") {
    sim.playback("Speaker");
    sim.playback("Nameless").withoutName();
    sim.playback("Primary").withoutGuid();
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    client.initialize();
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    client.finalize();
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    expectOutputLines({});
    expectErrorLines({});
}

SCENARIO(SupportCheck, NoPlaybackDevice_IsSupported,
         "No device needs to exist: a system without playback devices is supported; capture is not asked.") {
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 1u);
    EXPECT_EQ(sim.count("DirectSoundCaptureEnumerateW"), 0u);
    expectOutputLines({});
}

SCENARIO(SupportCheck, EnumerationFails_AnswersMinus4WithOneLine,
         "Where enumeration fails the answer is -4, with one line on standard output: the code's name, the text of "
         "the result and the result in hexadecimal; nothing goes to standard error or the client's log.") {
    sim.on("DirectSoundEnumerateW").fails(static_cast<long long>(DSERR_NODRIVER));
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -4);
    expectOutputLines({"NOTSUPPORTED: No sound driver is available for use (0x88780078)"});
    EXPECT_EQ(sim.streams().outFlushes, 1u);
    expectErrorLines({});
    EXPECT_TRUE(client.logs.empty());
}

SCENARIO(SupportCheck, OtherSuccessCode_IsNotSupported,
         "Only the result 0 counts as support; another success code answers -4 as well. Standard output gets the "
         "system's text whole, with the NUL byte before its number.") {
    sim.system().messages[1] = L"Incorrect function.\r\n";
    sim.on("DirectSoundEnumerateW").fails(1);
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -4);
    std::string line = "NOTSUPPORTED: Incorrect function.";
    line.append(1, '\0').append(" (1) (0x1)");
    expectOutputLines({line});
}

SCENARIO(SupportCheck, FailsAndRecovers_AnswersAnewEachTime,
         "The check keeps no state: it fails while enumeration fails, one line each time, and succeeds afterwards, "
         "also beside a backend.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.on("DirectSoundEnumerateW").onCall(1).fails(static_cast<long long>(DSERR_UNINITIALIZED));
    sim.on("DirectSoundEnumerateW").onCall(2).fails(static_cast<long long>(DSERR_UNINITIALIZED));
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -4);
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -4);
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    const std::string line = "NOTSUPPORTED: This object has not been initialized (0x887800aa)";
    expectOutputLines({line, line});
    EXPECT_EQ(client.list(Direction::playback).size(), 1u);
    client.finalize();
}

SCENARIO(SupportCheck, SeveralThreadsAtOnce_AllAnswer, "The check may be called on several threads at once.") {
    sim.playback("Speaker");
    sim.randomSchedule(34);
    unsigned supported = 0;
    for (int i = 0; i < 4; ++i)
        sim.thread("checker", [&] { supported += sim.exports().orvosoundbackend_isSupported() == 0 ? 1u : 0u; });
    EXPECT_TRUE(sim.advanceUntil([&] { return supported == 4; }));
}
