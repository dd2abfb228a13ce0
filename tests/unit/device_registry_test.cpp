#include "backend/device_registry.h"
#include "fake_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace directsound {
namespace {

using testing::ElementsAre;

class DeviceRegistryTest : public testing::Test {
protected:
    void add(const std::string& deviceId) {
        registry.add(DeviceRegistry::placeFor(std::make_unique<FakeDevice>(host, journal, deviceId)));
    }

    FakeHost host;
    Journal journal;
    DeviceRegistry registry;
};

TEST_F(DeviceRegistryTest, Find_Added_Found) {
    add("{a}");
    ASSERT_NE(registry.find("{a}"), nullptr);
    EXPECT_EQ(registry.find("{a}")->deviceId(), "{a}");
}

TEST_F(DeviceRegistryTest, Find_OtherCaseOrPrefix_NotFound) {
    add("{a}");
    EXPECT_EQ(registry.find("{A}"), nullptr);
    EXPECT_EQ(registry.find("{a"), nullptr);
    EXPECT_EQ(registry.find(""), nullptr);
}

TEST_F(DeviceRegistryTest, Remove_Added_HandedOutAlive) {
    add("{a}");
    const auto removed = registry.remove("{a}");
    ASSERT_NE(removed, nullptr);
    EXPECT_EQ(registry.find("{a}"), nullptr);
    EXPECT_THAT(journal.lines(), ElementsAre());
}

TEST_F(DeviceRegistryTest, Remove_Unknown_Null) {
    EXPECT_EQ(registry.remove("{a}"), nullptr);
}

TEST_F(DeviceRegistryTest, DestroyAll_Several_InByteOrder) {
    for (const char* deviceId : {"{b}", "{a", "{a}", "{B}", "{c}", "{d}", "{e}"})
        add(deviceId);
    registry.destroyAll();
    EXPECT_THAT(journal.lines(), ElementsAre("destroy {B}", "destroy {a", "destroy {a}", "destroy {b}", "destroy {c}",
                                             "destroy {d}", "destroy {e}"));
}

TEST_F(DeviceRegistryTest, TakePlayedBlock_NotAPlaybackDevice_Null) {
    add("{a}");
    EXPECT_EQ(registry.takePlayedBlock("{a}"), nullptr);
    EXPECT_EQ(registry.takePlayedBlock("{b}"), nullptr);
}

} // namespace
} // namespace directsound
