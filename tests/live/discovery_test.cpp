#include "client.h"
#include "system_devices.h"

#include <thread>

namespace {

using namespace live;

class Discovery : public LiveTest, public testing::WithParamInterface<int> {
protected:
    const DeviceDirection direction = static_cast<DeviceDirection>(GetParam());
};

TEST_P(Discovery, Enumeration_AgreesWithTheSystemsOwn) {
    const std::vector<SystemDevice> expected = systemDevices(direction);
    const std::vector<DeviceInfoRecord> found = client.devices(direction);
    ASSERT_EQ(found.size(), expected.size());
    ASSERT_GE(found.size(), 3U) << "the bench has more devices than that";
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].id, expected[i].id);
        EXPECT_EQ(found[i].name, expected[i].name);
        EXPECT_EQ(found[i].idLength, 38);
        EXPECT_EQ(found[i].nameLength, expected[i].name.size());
        EXPECT_EQ(found[i].reserved, 0);
    }
}

TEST_P(Discovery, DefaultDevice_IsTheSystemsDefaultVoiceDevice) {
    EXPECT_EQ(client.defaultId(direction), systemDefault(direction));
}

TEST_P(Discovery, DefaultChangedLive_ArrivesAsEvent1WithinTwoSeconds) {
    const std::string before = client.defaultId(direction);
    const std::string after = client.idOf(direction, direction == ORVO_PLAYBACK ? "Headset" : "Monitor of Headset");
    ASSERT_NE(before, after);
    const auto told = [&](std::size_t count, const std::string& id) {
        return waitUntil([&] { return client.events().size() >= count; }, Milliseconds(2000)) &&
               client.events()[count - 1].deviceId == id;
    };
    {
        const DefaultVoiceDevice change(direction, after);
        ASSERT_EQ(systemDefault(direction), after) << "the system did not take the change";
        ASSERT_TRUE(told(1, after));
        EXPECT_EQ(client.defaultId(direction), after);
    }
    ASSERT_TRUE(told(2, before));
    EXPECT_EQ(client.defaultId(direction), before);
    for (const Event& event : client.events()) {
        EXPECT_EQ(event.code, ORVO_EVENT_DEFAULT_CHANGED);
        EXPECT_EQ(event.value, direction);
    }
    EXPECT_EQ(client.events().size(), 2U);
}

TEST_P(Discovery, NothingChanges_NoEventComes) {
    std::this_thread::sleep_for(Milliseconds(2500));
    EXPECT_TRUE(client.events().empty());
}

INSTANTIATE_TEST_SUITE_P(Directions, Discovery, testing::Values(ORVO_PLAYBACK, ORVO_CAPTURE),
                         [](const auto& test) { return test.param == ORVO_PLAYBACK ? "Playback" : "Capture"; });

} // namespace
