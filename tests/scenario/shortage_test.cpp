// Events that the system does not give, and waits that fail: shorter work, but no hang.
#include "render_support.h"

namespace {

constexpr DWORD kFailed = WAIT_FAILED;

} // namespace

SCENARIO(Shortage, NoEventForTheDspLock_DevicesStillRunAndStop,
         "Without the event of the DSP lock nothing is said, and devices run; while the client holds the lock, their "
         "loops try it without pause, and still obey a stop.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("CreateEventW").onCall(1).fails();
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(200);
    EXPECT_GT(client.requestCount, 5u);
    client.lockDsp();
    const std::uint64_t requests = client.requestCount;
    const unsigned tries = sim.count("TryEnterCriticalSection");
    sim.advance(30);
    EXPECT_EQ(client.requestCount, requests);
    EXPECT_GT(sim.count("TryEnterCriticalSection"), tries + 100);
    client.unlockDsp();
    sim.advance(30);
    EXPECT_GT(client.requestCount, requests);
    client.lockDsp();
    sim.advance(30); // the loop tries again
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(30);
    EXPECT_EQ(sim.count("Secondary.Stop"), 1u);
    client.unlockDsp();
    expectErrorLines({});
    client.closeAndFinalize({&speaker});
}

SCENARIO(Shortage, NoEventForClosedDevices_TheWaitReturnsAtOnce,
         "Without the event that tells of closed devices nothing is said and devices are listed and closed as ever; "
         "only the wait for them cannot wait, and returns at once.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    sim.on("CreateEventW").onCall(3).fails(); // after those of the DSP lock and of the monitor's wake
    EXPECT_EQ(client.initialize(), 0);
    expectErrorLines({});
    EXPECT_EQ(client.list(Direction::playback).size(), 1u);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(100);
    sim.on("Secondary.Stop").takes(50);
    EXPECT_EQ(client.close(speaker), 0);
    const double before = sim.now();
    EXPECT_EQ(sim.exports().orvosoundbackend_waitForClosedDevices(client.backend), 0);
    EXPECT_EQ(sim.now(), before);
    EXPECT_FALSE(sim.sound().living(speaker).empty());
    expectErrorLines({"Waiting for device to close"});
    sim.advance(60);
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    client.finalize();
}

SCENARIO(Shortage, FailingWaitOfALoop_CountsAsACommand,
         "A wait for the command that fails counts as woken, and the device stops: in the look after a block and in "
         "the timed wait of playback, in the first wait of capture and in the one between two looks.") {
    Device& speaker = sim.playback("Speaker").freezes();
    Device& microphone = sim.capture("Microphone").freezes();
    client.initialize();
    struct Case {
        const Device& device;
        unsigned wait;
        std::string milliseconds;
        const char* stop;
    };
    for (const Case& c :
         {Case{speaker, 1, "0", "Secondary.Stop"}, Case{speaker, 2, "21", "Secondary.Stop"},
          Case{microphone, 1, "21", "CaptureBuffer.Stop"}, Case{microphone, 2, "1", "CaptureBuffer.Stop"}}) {
        const unsigned stops = sim.count(c.stop);
        EXPECT_EQ(client.open(c.device).result, 0);
        sim.advance(1); // the worker waits for its start
        const std::string command = scenario::render::commandEvent(sim);
        sim.on("WaitForSingleObject").of(command).onCall(c.wait).fails(kFailed);
        client.start(c.device); // answers -233 when the device has stopped before the answer
        sim.advance(100);
        std::string failed;
        for (const CallRecord& call : sim.calls("WaitForSingleObject")) {
            if (call.subject == command && call.result == static_cast<long long>(kFailed))
                failed += call.arguments + ";";
        }
        EXPECT_EQ(failed, c.milliseconds + ";");
        EXPECT_EQ(sim.count(c.stop), stops + 1) << c.device.label() << ", wait " << c.wait;
        EXPECT_EQ(client.start(c.device), -232);
        EXPECT_EQ(client.close(c.device), 0);
        client.waitForClosed();
    }
    expectTrouble({});
    client.finalize();
}

SCENARIO(Shortage, FailingWaitForTheReply_FailsTheCallAndLeavesNothing,
         "When the wait for a worker's reply fails, open answers -233 and start what it finds, and nothing hangs or "
         "is left.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.on("DirectSoundCreate8").onCall(1).takes(50);
    sim.on("_beginthreadex").onCall(1).does([this] { // the reply is waited for next
        sim.on("WaitForSingleObject").onCall(1).fails(kFailed);
    });
    const Opened opened = client.open(speaker);
    EXPECT_EQ(opened.result, -233);
    EXPECT_EQ(opened.channels, kUntouched);
    for (const CallRecord& call : sim.calls("WaitForSingleObject"))
        EXPECT_EQ(call.result == static_cast<long long>(kFailed), call.thread == "client" && call.subject[0] == 'E');
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_EQ(client.close(speaker), -121);
    EXPECT_EQ(client.open(speaker).result, 0);
    client.closeAndFinalize({&speaker});
}
