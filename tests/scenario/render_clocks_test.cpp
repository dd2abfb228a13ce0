// Playback over minutes, on all kinds of clocks, with several devices, and on random schedules.
#include "render_support.h"

#include <map>
#include <set>
#include <span>

using namespace scenario::render;

namespace scenario {
namespace {

constexpr double kMinute = 60'000;

// Follows what a device plays without keeping it.
class Listener {
public:
    explicit Listener(Device& device, unsigned channels = 2) : m_Checker(channels, 16) {
        device.heard.keep = 0;
        device.heard.listener = [this](std::span<const std::byte> piece) { m_Checker.feed(piece); };
    }
    ~Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    [[nodiscard]] const NumberedChecker& heard() const { return m_Checker; }

private:
    NumberedChecker m_Checker;
};

void playMinutes(Simulation& sim, Client& client, Device& speaker, double minutes) {
    const Listener listener(speaker);
    sim.plainHeap();
    client.keepBlocks = false;
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(minutes * kMinute);
    EXPECT_EQ(client.stop(speaker), 0);
    client.closeAndFinalize({&speaker});
    const NumberedChecker& heard = listener.heard();
    EXPECT_TRUE(heard.unbroken()) << heard.silence() << " silent, " << heard.breaks() << " breaks, "
                                  << heard.garbage() << " garbage";
    EXPECT_EQ(heard.leadIn(), 5u * 960);
    EXPECT_NEAR(static_cast<double>(heard.frames()), minutes * 60 * 48000, minutes * 60 * 48000 * 0.001 + 8000);
    EXPECT_EQ(speaker.heard.lateWrites, 0u);
    speaker.heard.listener = nullptr;
}

void playThree(Simulation& sim, Client& client) {
    Device& hall = sim.playback("Hall");
    Device& desk = sim.playback("Desk").emulated().steps(10).cursorLead(10);
    Device& ear = sim.playback("Ear").speakers(2).rates(100, 47000).drifts(300);
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t contextId = 10;
    for (const Device* device : {&hall, &desk, &ear})
        EXPECT_EQ(client.open(*device, contextId++).result, 0);
    contextId = 10;
    for (const Device* device : {&hall, &desk, &ear})
        EXPECT_EQ(client.start(*device, contextId++), 0);
    sim.advance(1000);
    EXPECT_EQ(client.stop(desk, 11), 0);
    sim.advance(1000);
    EXPECT_EQ(client.stop(hall, 10), 0);
    EXPECT_EQ(client.stop(ear, 12), 0);
    contextId = 10;
    for (const Device* device : {&hall, &desk, &ear})
        EXPECT_EQ(client.close(*device, contextId++), 0);
    client.waitForClosed();
    client.finalize();
    for (const Device* device : {&hall, &desk, &ear}) {
        const NumberedChecker heard = device->checkHeard();
        EXPECT_TRUE(heard.unbroken()) << device->label() << ": " << heard.silence() << " silent, " << heard.breaks()
                                      << " breaks, " << heard.garbage() << " garbage";
        EXPECT_EQ(device->heard.lateWrites, 0u) << device->label();
    }
    EXPECT_GT(hall.checkHeard().frames(), 85'000u);
    EXPECT_LT(desk.checkHeard().frames(), 48'000u);
    EXPECT_GT(ear.checkHeard().frames(), 80'000u);
    std::map<std::string, std::set<std::string>> threads;
    for (const PlaybackRequest& request : client.requests) {
        threads[request.device].insert(request.thread);
        const bool isHall = request.device == hall.id();
        const bool isDesk = request.device == desk.id();
        EXPECT_EQ(request.contextId, isHall ? 10u : isDesk ? 11u : 12u);
        EXPECT_EQ(request.frames, isHall || isDesk ? 960 : 882);
    }
    EXPECT_EQ(threads.size(), 3u);
    for (const auto& [device, names] : threads)
        EXPECT_EQ(names.size(), 1u) << "one worker for each device";
}

void interruptedSecond(Simulation& sim, Client& client) {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    for (int i = 0; i < 40; ++i) {
        sim.advance(20 + i % 7);
        client.lockDsp();
        sim.advance(i % 5 * 10);
        client.unlockDsp();
    }
    client.lockDsp();
    EXPECT_EQ(client.stop(speaker), 0);
    sim.advance(5);
    client.unlockDsp();
    client.closeAndFinalize({&speaker});
    const NumberedChecker heard = speaker.checkHeard();
    EXPECT_TRUE(heard.unbroken()) << heard.silence() << " silent, " << heard.breaks() << " breaks";
    EXPECT_GT(heard.frames(), 60'000u);
}

} // namespace
} // namespace scenario

SCENARIO(RenderClocks, SmoothCursor_IsHeardWithoutGapForMinutes,
         "On a smooth cursor five minutes are heard exactly as the client gave them, without a line in the log.") {
    playMinutes(sim, client, sim.playback("Speaker"), 5);
    expectTrouble({});
}

SCENARIO(RenderClocks, CursorInStepsOf10_IsHeardWithoutGapForMinutes,
         "On a cursor that moves in steps of 10 ms two minutes are heard exactly as the client gave them.") {
    playMinutes(sim, client, sim.playback("Speaker").steps(10).cursorLead(10), 2);
    expectTrouble({});
}

SCENARIO(RenderClocks, CursorInStepsOf31_IsHeardWithoutGapForMinutes,
         "On a cursor that moves in steps of 31.25 ms two minutes are heard exactly as the client gave them.") {
    playMinutes(sim, client, sim.playback("Speaker").steps(31.25).cursorLead(31.25), 2);
    expectTrouble({});
}

SCENARIO(RenderClocks, FastClock_IsHeardWithoutGapForMinutes,
         "On a device clock that runs 500 millionths fast nothing is lost or repeated in two minutes.") {
    playMinutes(sim, client, sim.playback("Speaker").drifts(500), 2);
    expectTrouble({});
}

SCENARIO(RenderClocks, SlowClock_IsHeardWithoutGapForMinutes,
         "On a device clock that runs 500 millionths slow nothing is lost or repeated in two minutes.") {
    playMinutes(sim, client, sim.playback("Speaker").drifts(-500), 2);
    expectTrouble({});
}

SCENARIO(RenderClocks, LateWakeUps_AreNoTroubleForMinutes,
         "With waits that end at the next multiple of 16 ms nothing is lost or told in two minutes.") {
    sim.timerGranularity(16);
    playMinutes(sim, client, sim.playback("Speaker").steps(10).cursorLead(10), 2);
    expectTrouble({});
}

SCENARIO(RenderClocks, LateWakeUpsAndCoarseDriftingCursor_LoseNothing,
         "Late wake-ups, a cursor in steps of 31.25 ms and a drifting clock together lose nothing in two minutes.") {
    sim.timerGranularity(16);
    playMinutes(sim, client, sim.playback("Speaker").steps(31.25).cursorLead(31.25).drifts(200), 2);
    expectTrouble({});
}

SCENARIO(RenderClocks, CushionOf100Milliseconds_OutlastsASlowClient,
         "A client that takes 70 ms now and then is heard without a gap.") {
    Device& speaker = sim.playback("Speaker");
    client.onPlayback = [&](const std::string& device, AudioBlock& block) {
        if (client.requestCount % 20 == 0)
            sim.spend(70);
        return client.fillNumberedBlock(device, block);
    };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.advance(5000);
    client.closeAndFinalize({&speaker});
    EXPECT_TRUE(speaker.checkHeard().unbroken());
    EXPECT_EQ(speaker.heard.lateWrites, 0u);
    expectLog(2, speaker, kLine + "m_DS->m_Callbacks.getPlaybackData time 70 msecs");
}

SCENARIO(
    RenderClocks, ThreeDevices_PlayAtOnce,
    "Three devices of different rates, channels and drivers play at once, each on its worker, each without a gap, "
    "and one that is stopped does not touch the others.") {
    playThree(sim, client);
    EXPECT_EQ(client.logTexts(1).size(), 0u);
}

SCENARIO(RenderSchedules, ThreeDevicesOnSchedule1_PlayAtOnce,
         "Three devices play at once without a gap on a first random schedule.") {
    sim.randomSchedule(1);
    playThree(sim, client);
}

SCENARIO(RenderSchedules, ThreeDevicesOnSchedule2_PlayAtOnce,
         "Three devices play at once without a gap on a second random schedule.") {
    sim.randomSchedule(20261121);
    playThree(sim, client);
}

SCENARIO(RenderSchedules, DspLockTakenOftenOnSchedule3_LosesNothing,
         "A client that takes the DSP lock again and again loses no block on a random schedule.") {
    sim.randomSchedule(3);
    interruptedSecond(sim, client);
}

SCENARIO(RenderSchedules, DspLockTakenOftenOnSchedule4_LosesNothing,
         "A client that takes the DSP lock again and again loses no block on another random schedule.") {
    sim.randomSchedule(4);
    interruptedSecond(sim, client);
}

SCENARIO(RenderSchedules, DspLockTakenOften_LosesNothing,
         "A client that takes the DSP lock again and again loses no block.") {
    interruptedSecond(sim, client);
}
