// Which of several reasons an export answers with, and from where exports may be called.
#include "scenario.h"

#include <array>

namespace scenario {
namespace {

using Command = BackendResult (*)(DirectSoundBackend*, DeviceDirection, const char*, std::uint32_t);

} // namespace
} // namespace scenario

SCENARIO(Exports, ChecksOfACommand_ComeInTheirOrder,
         "Start, stop and close answer the direction first (-5), then what is null (-10), then whether the device is "
         "open (-121), then its number (-144), and only then its state.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    EXPECT_EQ(client.open(speaker, 7).result, 0);
    EXPECT_EQ(client.start(speaker, 7), 0);
    sim.advance(100);
    EXPECT_EQ(client.stop(speaker, 7), 0);
    sim.advance(100);
    const std::string id = speaker.id();
    const Exports& exports = sim.exports();
    for (const scenario::Command command : {exports.orvosoundbackend_startDevice, exports.orvosoundbackend_stopDevice,
                                            exports.orvosoundbackend_closeDevice}) {
        EXPECT_EQ(command(nullptr, 3, nullptr, 8), -5);
        EXPECT_EQ(command(client.backend, 0, id.c_str(), 7), -5);
        EXPECT_EQ(command(nullptr, 1, "not open", 8), -10);
        EXPECT_EQ(command(client.backend, 1, nullptr, 8), -10);
        EXPECT_EQ(command(client.backend, 1, "not open", 8), -121);
        EXPECT_EQ(command(client.backend, 2, id.c_str(), 8), -121);
        EXPECT_EQ(command(client.backend, 1, id.c_str(), 8), -144) << "although it has stopped";
    }
    EXPECT_EQ(client.start(speaker, 7), -232);
    EXPECT_EQ(client.stop(speaker, 7), 0);
    client.closeAndFinalize({&speaker}, 7);
}

SCENARIO(Exports, ChecksOfAnOpen_ComeInTheirOrder,
         "Open answers the direction first (-5), then what is null (-10), then whether the device is open already "
         "(-120), and only then what the device says; the number does not matter for any of these.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    EXPECT_EQ(client.open(speaker, 7).result, 0);
    std::array<std::uint32_t, 4> out{};
    const auto open = [&](DeviceDirection direction, const char* id, std::uint32_t* mask) {
        return sim.exports().orvosoundbackend_openDevice(client.backend, direction, id, 9, &out[0], &out[1], &out[2],
                                                         mask);
    };
    const std::string id = speaker.id();
    sim.on("DirectSoundCreate8").fails(DSERR_NODRIVER);
    EXPECT_EQ(open(3, nullptr, nullptr), -5);
    EXPECT_EQ(open(1, nullptr, &out[3]), -10);
    EXPECT_EQ(open(1, id.c_str(), nullptr), -10);
    EXPECT_EQ(open(1, "no GUID", nullptr), -10);
    EXPECT_EQ(open(1, id.c_str(), &out[3]), -120);
    EXPECT_EQ(open(1, "{ABCDEF01-0000-0000-0000-000000000000}", &out[3]), -228);
    EXPECT_EQ(out, (std::array<std::uint32_t, 4>{}));
    client.closeAndFinalize({&speaker});
}

SCENARIO(
    Exports, ChecksOfAnAssociation_ComeInTheirOrder,
    "An association answers what is null first (-10), then whether the capture device is open (-121), its number "
    "(-144), the end of a pairing (0), a null out-pointer (-10), and then the playback identifier (-6, -202) and "
    "the playback device (-228).") {
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(client.open(microphone, 7).result, 0);
    std::array<std::uint32_t, 4> out{};
    const std::string capture = microphone.id();
    const auto associate = [&](const char* captureId, const char* playbackId, std::uint32_t contextId,
                               std::uint32_t* mask) {
        return sim.exports().orvosoundbackend_associateAECDevice(client.backend, captureId, playbackId, contextId,
                                                                 mask, &out[1], &out[2], &out[3]);
    };
    const std::string tooLong(255, 'x');
    EXPECT_EQ(associate(nullptr, nullptr, 8, nullptr), -10);
    EXPECT_EQ(associate("not open", nullptr, 8, nullptr), -121);
    EXPECT_EQ(associate(capture.c_str(), nullptr, 8, nullptr), -144);
    EXPECT_EQ(associate(capture.c_str(), nullptr, 7, nullptr), 0);
    EXPECT_EQ(associate(capture.c_str(), tooLong.c_str(), 7, nullptr), -10);
    EXPECT_EQ(associate(capture.c_str(), tooLong.c_str(), 7, &out[0]), -6);
    EXPECT_EQ(associate(capture.c_str(), "no GUID", 7, &out[0]), -202);
    EXPECT_EQ(associate(capture.c_str(), "{ABCDEF01-0000-0000-0000-000000000000}", 7, &out[0]), -228);
    EXPECT_EQ(out, (std::array<std::uint32_t, 4>{}));
    client.closeAndFinalize({&microphone});
}

SCENARIO(Exports, Initialize_ClearsThePlaceFirst,
         "Initialize clears the place for the backend before anything else: it holds null while the first line is "
         "written, and the backend when initialize returns.") {
    client.backend = reinterpret_cast<DirectSoundBackend*>(this);
    std::vector<DirectSoundBackend*> meanwhile;
    client.onLog = [&](const LogLine&) { meanwhile.push_back(client.backend); };
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(meanwhile, std::vector<DirectSoundBackend*>{nullptr});
    EXPECT_NE(client.backend, nullptr);
    client.finalize();
}

SCENARIO(
    Exports, OtherClientThread_DrivesDevicesAsWell,
    "Devices may be driven by another client thread than the one that initialized the backend, and by several, one "
    "after the other.") {
    const Device& speaker = sim.playback("Speaker");
    const Device& microphone = sim.capture("Microphone");
    client.initialize();
    const ClientThread opener = sim.thread("opener", [&] {
        for (const Device* device : {&speaker, &microphone}) {
            EXPECT_EQ(client.open(*device).result, 0);
            EXPECT_EQ(client.start(*device), 0);
        }
        EXPECT_EQ(client.associate(microphone, speaker).result, 0);
        EXPECT_EQ(client.list(Direction::playback).size(), 1u);
    });
    sim.advance(500);
    EXPECT_TRUE(opener.finished());
    EXPECT_TRUE(client.captured.back().hasEcho);
    const ClientThread closer = sim.thread("closer", [&] {
        EXPECT_EQ(client.stop(microphone), 0);
        for (const Device* device : {&speaker, &microphone})
            EXPECT_EQ(client.close(*device), 0);
        EXPECT_EQ(client.waitForClosed(), 0);
    });
    sim.advance(50);
    EXPECT_TRUE(closer.finished());
    EXPECT_TRUE(sim.sound().living(speaker).empty());
    EXPECT_TRUE(sim.sound().living(microphone).empty());
    client.finalize();
}
