// Which sections guard what an export touches. A lock that is missing makes a race too rare to wait for.
#include "scenario.h"

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

SCENARIO(Sections, EchoReferenceIsGivenUp_InsideItsSectionOnly,
         "As long as the client that gives an echo reference up, or closes its device, has to wait for the section, "
         "blocks come with the reference.") {
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
    const auto expectReferences = [](const std::vector<CapturedBlock>& blocks) {
        EXPECT_GE(blocks.size(), 4u);
        for (const CapturedBlock& block : blocks)
            EXPECT_TRUE(block.hasEcho) << block.time;
    };

    client.associate(microphone, speaker);
    sim.advance(505);
    sim.on("EnterCriticalSection").of(echo).onCall(1).takes(100);
    expectReferences(blocksWhile([&] { client.dissociate(microphone); }));
    EXPECT_FALSE(blocksWhile([&] { sim.advance(50); }).front().hasEcho);

    client.associate(microphone, speaker);
    sim.advance(505);
    sim.on("EnterCriticalSection").of(playbackDevices).onCall(2).takes(100); // after the look for the device
    expectReferences(blocksWhile([&] { client.close(speaker); }));
    client.closeAndFinalize({&microphone});
}
