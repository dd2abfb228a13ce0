// Associations that are refused before any device is asked: the pairing before stays, whatever the reason.
#include "capture_scenario.h"

#include <array>
#include <functional>

SCENARIO(Association, EachRefusal_KeepsThePairing,
         "An association that is refused - for its number, a null out-pointer, an identifier that does not fit, does "
         "not convert or is no GUID text - changes neither the pairing before nor the counter.") {
    Device& speaker = sim.playback("Speaker").freezes();
    Device& microphone = sim.capture("Microphone");
    runFrozen(sim, client, microphone);
    openAndStart(client, speaker);
    speaker.jumps(180);
    sim.advance(50);
    EXPECT_EQ(client.associate(microphone, speaker).counter, 1u);
    std::array<std::uint32_t, 4> out{};
    const std::string capture = microphone.id();
    const auto associate = [&](const std::string& playback, std::uint32_t contextId, std::uint32_t* counter) {
        return sim.exports().orvosoundbackend_associateAECDevice(client.backend, capture.c_str(), playback.c_str(),
                                                                 contextId, &out[0], &out[1], &out[2], counter);
    };
    const std::vector<std::pair<BackendResult, std::function<BackendResult()>>> refusals = {
        {-144, [&] { return associate(speaker.id(), 8, &out[3]); }},
        {-10, [&] { return associate(speaker.id(), 7, nullptr); }},
        {-6, [&] { return associate(std::string(255, 'x'), 7, &out[3]); }},
        {-1,
         [&] {
             sim.on("MultiByteToWideChar").onCall(1).failsWithError(1113);
             return associate(speaker.id(), 7, &out[3]);
         }},
        {-202, [&] { return associate("no GUID", 7, &out[3]); }},
    };
    for (std::size_t i = 0; i < refusals.size(); ++i) {
        EXPECT_EQ(refusals[i].second(), refusals[i].first);
        EXPECT_EQ(out, (std::array<std::uint32_t, 4>{}));
        if (i < 4) { // as many references wait in the queue beyond its depth
            move(sim, microphone, 20);
            EXPECT_EQ(referenceNumbers(client).back(), i);
        }
    }
    speaker.jumps(20);
    sim.advance(50);
    move(sim, microphone, 20);
    EXPECT_EQ(referenceNumbers(client).back(), 4u);
    EXPECT_EQ(sim.count("DirectSoundCreate8"), 2u) << "by the open and by the association that succeeded";
    EXPECT_EQ(client.associate(microphone, speaker).counter, 2u);
    client.closeAndFinalize({&microphone, &speaker});
}

SCENARIO(Association, EmptyPlaybackIdentifier_IsNoGuidAndEndsNothing,
         "An empty playback identifier is not a null one: it is no GUID text, answers -202, and the pairing stays.") {
    Device& speaker = sim.playback("Speaker");
    Device& microphone = sim.capture("Microphone");
    client.initialize();
    openAndStart(client, speaker);
    openAndStart(client, microphone);
    EXPECT_EQ(client.associate(microphone, speaker).counter, 1u);
    sim.advance(500);
    std::array<std::uint32_t, 4> out{};
    EXPECT_EQ(sim.exports().orvosoundbackend_associateAECDevice(client.backend, microphone.id().c_str(), "", 7,
                                                                &out[0], &out[1], &out[2], &out[3]),
              -202);
    sim.advance(200);
    EXPECT_TRUE(client.captured.back().hasEcho);
    client.closeAndFinalize({&microphone, &speaker});
}
