// Opening a capture device: the calls in their order, and every way to fail.
#include "capture_scenario.h"

namespace scenario {

// One call of an open fails: what the client gets, that everything is released, and that the device can be opened
// when the fault has passed.
static void expectFailedOpen(Simulation& sim, Client& client, const std::string& call, BackendResult code,
                             const std::vector<std::string>& released) {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    sim.on(call).of("Microphone").onCall(1).fails(kNoDriver);
    const Opened opened = client.open(microphone);
    EXPECT_EQ(opened.result, code);
    EXPECT_EQ(opened.channels, kUntouched);
    EXPECT_EQ(opened.bits, kUntouched);
    EXPECT_EQ(opened.rate, kUntouched);
    EXPECT_EQ(opened.mask, kUntouched);
    EXPECT_EQ(client.logTexts(1), std::vector<std::string>{kNoDriverLine});
    EXPECT_EQ(client.logs.back().category, microphone.id());
    EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{});
    std::vector<std::string> calls = callsOf(sim, microphone);
    calls.erase(calls.begin(), std::ranges::find(calls, call) + 1);
    EXPECT_EQ(calls, released);
    EXPECT_EQ(client.start(microphone), -121);
    EXPECT_EQ(client.open(microphone).result, 0);
    client.closeAndFinalize({&microphone});
}

} // namespace scenario

SCENARIO(CaptureOpen, StereoDevice_IsOpenedByTheseCallsInThisOrder,
         "A capture device is opened by seven calls in a fixed order, all on one thread of its own.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    const Opened opened = client.open(microphone);
    EXPECT_EQ(opened.result, 0);
    EXPECT_EQ(opened.channels, 2u);
    EXPECT_EQ(opened.bits, 16u);
    EXPECT_EQ(opened.rate, 48000u);
    EXPECT_EQ(opened.mask, 3u);
    const std::vector<std::string> order{
        "DirectSoundCaptureCreate8",    "DirectSoundCapture.GetCaps", "DirectSoundCapture.CreateBuffer",
        "CaptureBuffer.QueryInterface", "CaptureBuffer.Release",      "CaptureBuffer.GetFormat",
        "CaptureBuffer.GetCaps"};
    EXPECT_EQ(callsOf(sim, microphone), order);
    const std::string worker = sim.calls("DirectSoundCaptureCreate8").at(0).thread;
    EXPECT_NE(worker, Scheduler::current()->name);
    for (const CallRecord& call : sim.script().callsBeginning("")) {
        if (call.subject == microphone.label()) {
            EXPECT_EQ(call.thread, worker) << call.name;
        }
    }
    EXPECT_EQ(sim.sound().living(microphone), (std::vector<std::string>{"DirectSoundCapture", "CaptureBuffer"}));
    client.closeAndFinalize({&microphone});
    expectTrouble({});
}

SCENARIO(CaptureOpen, StereoDevice_GetsABufferOfOneSecond,
         "The capture buffer is asked for with no flags, plain PCM and fifty blocks of 20 ms.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_EQ(sim.calls("DirectSoundCapture.CreateBuffer").at(0).arguments,
              "size 40 flags 0 bytes 192000 pcm 2 x 48000 x 16 align 4 bytes/s 192000 extra 0");
    EXPECT_EQ(sim.calls("CaptureBuffer.GetFormat").at(0).arguments, "capacity 4000");
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureOpen, EmulatedDevice_WarnsAndOpens,
         "An emulated capture device opens as any other, with one warning to the client.") {
    Device& microphone = sim.capture("Microphone").emulated();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    const std::string line = "Opening emulated direct sound device. This is bad for latency. "
                             "Please enable hardware accelleration.";
    expectLog(2, microphone, line);
    expectTrouble({line});
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureOpen, EmulatedDeviceWithoutLogCallback_OpensSilently,
         "A client without a log callback can open an emulated capture device.") {
    Device& microphone = sim.capture("Microphone").emulated();
    client.callbacks.logMessage = nullptr;
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_TRUE(client.logs.empty());
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureOpen, DeviceAllocatedByOthers_AnswersWithoutALine,
         "A capture device that another program has answers -16, without a line "
         "in the log, and can be opened later.") {
    Device& microphone = sim.capture("Microphone").allocatedByOthers();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, -16);
    expectTrouble({});
    EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{});
    EXPECT_EQ(callsOf(sim, microphone).back(), "DirectSoundCapture.Release");
    EXPECT_EQ(sim.count("CaptureBuffer.QueryInterface"), 0u);
    microphone.allocatedByOthers(false);
    EXPECT_EQ(client.open(microphone).result, 0);
    client.closeAndFinalize({&microphone});
}

SCENARIO(CaptureOpen, DeviceNotCreated_FailsWithItsCode, "A capture device that cannot be created answers -206.") {
    expectFailedOpen(sim, client, "DirectSoundCaptureCreate8", -206, {});
}

SCENARIO(CaptureOpen, CapabilitiesNotReadable_FailsAndReleasesTheDevice,
         "A capture device whose capabilities cannot be read answers -230 and is released.") {
    expectFailedOpen(sim, client, "DirectSoundCapture.GetCaps", -230, {"DirectSoundCapture.Release"});
}

SCENARIO(CaptureOpen, BufferNotCreated_FailsAndReleasesTheDevice,
         "A capture device without a buffer answers -207 and is released.") {
    expectFailedOpen(sim, client, "DirectSoundCapture.CreateBuffer", -207, {"DirectSoundCapture.Release"});
}

SCENARIO(CaptureOpen, InterfaceMissing_FailsAndReleasesFirstTheBuffer,
         "A capture buffer without the version-8 interface answers -208; buffer and device are released.") {
    expectFailedOpen(sim, client, "CaptureBuffer.QueryInterface", -208,
                     {"CaptureBuffer.Release", "DirectSoundCapture.Release"});
}

SCENARIO(CaptureOpen, InterfaceMissing_TheFirstBufferIsGoneBeforeTheLine,
         "The first buffer interface is released whatever the version-8 query answers, before a failure is told.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    sim.on("CaptureBuffer.QueryInterface").fails(kNoDriver);
    std::vector<std::string> living{"no line came"};
    client.onLog = [&](const LogLine& line) {
        if (line.level == 1) {
            living = sim.sound().living(microphone);
        }
    };
    EXPECT_EQ(client.open(microphone).result, -208);
    EXPECT_EQ(living, std::vector<std::string>{"DirectSoundCapture"});
    client.finalize();
}

SCENARIO(CaptureOpen, FormatNotReadable_FailsAndReleasesAll,
         "A capture buffer whose format cannot be read answers -212; buffer and device are released.") {
    expectFailedOpen(sim, client, "CaptureBuffer.GetFormat", -212,
                     {"CaptureBuffer.Release", "DirectSoundCapture.Release"});
}

SCENARIO(CaptureOpen, BufferCapabilitiesNotReadable_FailsAndReleasesAll,
         "A capture buffer whose capabilities cannot be read answers -230; buffer and device are released.") {
    expectFailedOpen(sim, client, "CaptureBuffer.GetCaps", -230,
                     {"CaptureBuffer.Release", "DirectSoundCapture.Release"});
}

SCENARIO(CaptureOpen, FailureWithoutLogCallback_AnswersTheCode,
         "A failing open of a client without a log callback answers the code of the failed step.") {
    Device& microphone = sim.capture("Microphone");
    client.callbacks.logMessage = nullptr;
    EXPECT_EQ(client.initialize(), 0);
    sim.on("DirectSoundCapture.CreateBuffer").fails(kNoDriver);
    EXPECT_EQ(client.open(microphone).result, -207);
    client.finalize();
}

SCENARIO(CaptureOpen, AbsentDevice_IsNotCreated, "A capture device that is not plugged in answers -206.") {
    Device& microphone = sim.capture("Microphone").absent();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(microphone).result, -206);
    expectLog(1, microphone, kNoDriverLine);
    expectTrouble({kNoDriverLine});
    client.finalize();
}

SCENARIO(CaptureOpen, IdentifierThatIsNoGuid_IsRefused,
         "A capture identifier that is not a GUID text answers -202 with a line, and nothing is created.") {
    sim.capture("Microphone");
    sim.system().messages[0x800401F3] = L"Bad class text.\r\n";
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(2, "Microphone").result, -202);
    EXPECT_EQ(client.logTexts(1), std::vector<std::string>{"unknown error: Bad class text."});
    EXPECT_EQ(client.logs.back().category, "Microphone");
    EXPECT_EQ(client.open(2, "").result, -202);
    EXPECT_EQ(client.logs.back().category, "");
    EXPECT_EQ(sim.count("DirectSoundCaptureCreate8"), 0u);
    client.finalize();
}

SCENARIO(CaptureOpen, IdentifierOf254And255Bytes_ConvertsOrDoesNotFit,
         "A capture identifier of 254 bytes is looked at; one of 255 does not "
         "fit and answers -6 without a log line.") {
    sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(2, std::string(254, 'x')).result, -202);
    EXPECT_EQ(client.logTexts(1).size(), 1u);
    expectErrorLines({});
    EXPECT_EQ(client.open(2, std::string(255, 'x')).result, -6);
    EXPECT_EQ(client.logTexts(1).size(), 1u);
    expectErrorLines({"buffer too small"});
    client.finalize();
}

SCENARIO(CaptureOpen, IdentifierNotConvertible_AnswersMinusOne,
         "A capture identifier that the system cannot convert answers -1, told on standard error only.") {
    Device& microphone = sim.capture("Microphone");
    sim.system().messages[1113] = L"No mapping.";
    EXPECT_EQ(client.initialize(), 0);
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(1113);
    EXPECT_EQ(client.open(microphone).result, -1);
    expectErrorLines({"error 1113: No mapping."});
    expectTrouble({});
    EXPECT_EQ(sim.count("DirectSoundCaptureCreate8"), 0u);
    client.finalize();
}

SCENARIO(CaptureOpen, MemoryFailsAnywhere_NothingIsLeft,
         "Wherever memory runs out while a capture device is opened, the client "
         "gets a failure and nothing is left.") {
    Device& microphone = sim.capture("Microphone");
    EXPECT_EQ(client.initialize(), 0);
    unsigned failures = 0;
    for (unsigned n = 1; n < 100; ++n) {
        sim.on("malloc").onCall(n).maybe().fails();
        const Opened opened = client.open(microphone);
        sim.script().clear();
        if (opened.result == 0)
            break;
        ++failures;
        EXPECT_TRUE(opened.result == -1 || opened.result == -233) << opened.result << " at allocation " << n;
        EXPECT_EQ(opened.channels, kUntouched);
        EXPECT_EQ(sim.sound().living(microphone), std::vector<std::string>{}) << "at allocation " << n;
    }
    EXPECT_GT(failures, 2u);
    EXPECT_LT(failures, 99u);
    expectTrouble({});
    client.closeAndFinalize({&microphone});
}
