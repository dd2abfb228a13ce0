// Which sections guard what threads share. A lock that is missing makes a race too rare to wait for.
#include "scenario.h"

#include <algorithm>
#include <map>

namespace scenario {
namespace {

using Texts = std::vector<std::string>;

// The sections that the calling thread enters during an action, in order.
template <typename Action>
Texts entered(Simulation& sim, Action action) {
    const std::size_t before = sim.calls("EnterCriticalSection").size();
    action();
    Texts sections;
    const std::vector<CallRecord> calls = sim.calls("EnterCriticalSection");
    for (std::size_t i = before; i < calls.size(); ++i) {
        if (calls[i].thread == Scheduler::current()->name)
            sections.push_back(calls[i].subject);
    }
    return sections;
}

} // namespace
} // namespace scenario

SCENARIO(Sections, EachExport_EntersThoseOfWhatItTouches,
         "Every export takes the section of each thing that another thread may touch at the same moment: the open "
         "devices of a direction, a device's state, a capture device's echo reference, the monitor's lists.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    // In the order in which they are made.
    const std::string playbackDevices = "S1", captureDevices = "S2", monitor = "S4";
    const std::string speakerState = "S5", microphoneState = "S7", echo = "S8";

    EXPECT_EQ(entered(sim, [&] { client.list(Direction::playback); }), Texts({monitor}));
    EXPECT_EQ(entered(sim, [&] { client.defaultDevice(Direction::playback); }), Texts({monitor}));
    EXPECT_EQ(entered(sim, [&] { client.open(speaker); }),
              Texts({playbackDevices, speakerState, speakerState, playbackDevices}));
    EXPECT_EQ(entered(sim, [&] { client.open(microphone); }),
              Texts({captureDevices, microphoneState, microphoneState, captureDevices}));
    EXPECT_EQ(entered(sim, [&] { client.associate(microphone, speaker); }), Texts({captureDevices, echo}));
    EXPECT_EQ(entered(sim, [&] { client.dissociate(microphone); }), Texts({captureDevices, echo}));
    EXPECT_EQ(entered(sim, [&] { client.start(speaker); }), Texts({playbackDevices, speakerState, speakerState}));
    EXPECT_EQ(entered(sim, [&] { client.stop(speaker); }), Texts({playbackDevices, speakerState}));
    EXPECT_EQ(entered(sim, [&] { client.close(speaker); }), Texts({playbackDevices, playbackDevices, monitor}));
    EXPECT_EQ(entered(sim, [&] { client.waitForClosed(); }), Texts({monitor}));
    client.closeAndFinalize({&microphone});
}

SCENARIO(Sections, EchoReferenceComesAndGoes_InsideTheSectionOnly,
         "As long as the client has to wait for the section, an echo reference that it gives up, or whose device it "
         "closes, still comes with every block, and one that it asks for comes with none.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    const std::string playbackDevices = "S1", echo = "S8";
    const auto blocksWhile = [this](const std::function<void()>& action) {
        const std::size_t before = client.captured.size();
        action();
        return std::vector<CapturedBlock>(client.captured.begin() + static_cast<std::ptrdiff_t>(before),
                                          client.captured.end());
    };
    const auto expectReferences = [](const std::vector<CapturedBlock>& blocks, bool expected) {
        EXPECT_GE(blocks.size(), 4u);
        for (const CapturedBlock& block : blocks)
            EXPECT_EQ(block.hasEcho, expected) << block.time;
    };

    client.associate(microphone, speaker);
    sim.advance(505);
    sim.on("EnterCriticalSection").of(echo).onCall(1).takes(100);
    expectReferences(blocksWhile([&] { client.dissociate(microphone); }), true);
    expectReferences(blocksWhile([&] { sim.advance(100); }), false);

    sim.on("EnterCriticalSection").of(echo).onCall(1).takes(100);
    expectReferences(blocksWhile([&] { client.associate(microphone, speaker); }), false);
    expectReferences(blocksWhile([&] { sim.advance(100); }), true);

    sim.on("EnterCriticalSection").of(playbackDevices).onCall(2).takes(100); // after the look for the device
    expectReferences(blocksWhile([&] { client.close(speaker); }), true);
    client.closeAndFinalize({&microphone});
}

SCENARIO(Sections, EchoReferenceOfABlock_IsLookedUpInsideTheSectionOnly,
         "A block whose loop has to wait for the section comes without the echo reference that the client gives up "
         "meanwhile.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    client.associate(microphone, speaker);
    sim.advance(505);
    ASSERT_TRUE(client.captured.back().hasEcho);
    const std::size_t before = client.captured.size();
    sim.on("EnterCriticalSection").of("S8").onCall(1).takes(100);
    sim.advance(50);
    ASSERT_EQ(client.captured.size(), before) << "the loop waits for the section";
    EXPECT_EQ(client.dissociate(microphone), 0);
    sim.advance(100);
    ASSERT_GT(client.captured.size(), before);
    EXPECT_FALSE(client.captured.at(before).hasEcho);
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(Sections, DeviceThatIsOpened_CanBeReachedFromInsideTheSectionOnly,
         "As long as the client has to wait for the section to add a device that it opened, a capture device that "
         "has it as reference does not find it.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    client.open(microphone);
    client.start(microphone);
    EXPECT_EQ(client.associate(microphone, speaker).result, 0);
    sim.advance(105);                                        // between two blocks
    const std::string playbackDevices = "S1", blocks = "S8"; // of the device that is opened second
    const auto lookUps = [&](const std::string& section) {
        return std::ranges::count_if(sim.calls("EnterCriticalSection"), [&](const CallRecord& call) {
            return call.thread == "thread2" && call.subject == section;
        });
    };
    const auto before = lookUps(playbackDevices);
    sim.on("EnterCriticalSection").of(playbackDevices).onCall(2).takes(45); // after the look for the device
    const double called = sim.now();
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(sim.now(), called + 45);
    EXPECT_GE(lookUps(playbackDevices), before + 2);
    EXPECT_EQ(lookUps(blocks), 0);
    sim.advance(45);
    EXPECT_GE(lookUps(blocks), 2);
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(Sections, ClosedDevice_IsHandedOverInsideTheSectionOnly,
         "As long as the client that closes a device has to wait for the monitor's section, a wake of the monitor "
         "leaves the device alone.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.open(speaker);
    client.start(speaker);
    sim.advance(505);
    sim.on("EnterCriticalSection").of("S4").onCall(1).takes(1000);
    double ended = 0;
    sim.on("Secondary.Stop").does([&] { ended = sim.now(); });
    const double called = sim.now();
    EXPECT_EQ(client.close(speaker), 0);
    EXPECT_EQ(client.waitForClosed(), 0);
    EXPECT_GE(ended, called + 1000);
    client.finalize();
}

SCENARIO(Sections, FoundDevices_AreTakenOverInsideTheSectionOnly,
         "As long as a rescan has to wait for the monitor's section, the client gets the list from before.") {
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    sim.advance(1500);
    sim.playback("Headset");
    // Of the wake at 2000, after two looks for its end and one for closed devices.
    sim.on("EnterCriticalSection").of("S4").onCall(4).takes(500);
    sim.advance(750);
    EXPECT_EQ(client.list(Direction::playback).size(), 1u);
    sim.advance(500);
    EXPECT_EQ(client.list(Direction::playback).size(), 2u);
    client.finalize();
}

SCENARIO(Sections, EndOfTheMonitor_IsAskedForInsideTheSectionOnly,
         "As long as the client that finalizes has to wait for the monitor's section, the monitor goes on.") {
    client.initialize();
    sim.advance(505);
    sim.on("EnterCriticalSection").of("S4").onCall(1).takes(2000);
    client.finalize();
    EXPECT_EQ(sim.count("QueryPerformanceFrequency"), 2u); // read at each of the monitor's wakes
}

SCENARIO(
    Sections, OtherThreads_EnterThemAsOften,
    "A worker takes its device's section for open, for start and at its end, and that of the played blocks for "
    "each of them; a capture device takes for each block those of the echo reference, of the open devices and of "
    "the played blocks; the monitor takes its own at every step.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    for (const Device* device : {&speaker, &microphone}) {
        client.open(*device);
        client.start(*device);
    }
    client.associate(microphone, speaker);
    sim.advance(500);
    client.stop(speaker);
    client.stop(microphone);
    sim.advance(1000); // past a wake of the monitor that is not due for a rescan
    std::map<std::string, std::size_t> times;
    for (const CallRecord& call : sim.calls("EnterCriticalSection"))
        ++times[call.thread + " " + call.subject];

    const std::string monitor = "thread1 ", playback = "thread2 ", capture = "thread3 ";
    EXPECT_EQ(times[monitor + "S4"], 4u); // at its begin, twice around the reset of its event, for closed devices
    EXPECT_EQ(times[playback + "S5"], 3u);
    EXPECT_EQ(times[playback + "S6"], client.requests.size());
    EXPECT_EQ(times[capture + "S7"], 3u);
    for (const char* section : {"S8", "S1", "S6"})
        EXPECT_EQ(times[capture + section], client.captured.size()) << section;
    client.closeAndFinalize({&speaker, &microphone});
}
