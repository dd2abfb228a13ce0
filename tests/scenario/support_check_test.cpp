// isSupported.
#include "scenario.h"

SCENARIO(SupportCheck, NoDevice_IsSupported, "A system with DirectSound but without any device is supported.") {
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    expectOutputLines({});
}

SCENARIO(SupportCheck, WithDevices_IsSupported, "The support check accepts every report of the enumeration.") {
    sim.playback("Speaker");
    sim.playback("Nameless").withoutName();
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), 1u);
    EXPECT_EQ(sim.count("DirectSoundCaptureEnumerateW"), 0u);
    expectOutputLines({});
}

SCENARIO(SupportCheck, FailingEnumeration_IsNotSupportedAndSaysWhy,
         "A failing enumeration is told in one line on standard output and answers -4.") {
    sim.on("DirectSoundEnumerateW").fails(DSERR_NODRIVER);
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -4);
    expectOutputLines({"NOTSUPPORTED: No sound driver is available for use (0x88780078)"});
    expectErrorLines({});
}

SCENARIO(SupportCheck, SuccessOtherThanZero_IsNotSupported, "Any result but 0 counts as not supported.") {
    sim.system().messages[1] = L"Incorrect function.\r\n";
    sim.on("DirectSoundEnumerateW").fails(1);
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -4);
    // The text of a system message ends with a NUL that stays where it is.
    const std::string expected("NOTSUPPORTED: Incorrect function.\0 (1) (0x1)\n", 45);
    EXPECT_EQ(sim.streams().out, expected);
}
