#include "client/device_selection.h"
#include "commands/device_list.h"
#include "commands/device_pick.h"

#include <gtest/gtest.h>

namespace soundcheck {
namespace {

const std::vector<DeviceEntry> kPlayback = {{1, "{P1}", "Speaker", true}, {2, "{P2}", "Headset", false}};
const std::vector<DeviceEntry> kCapture = {
    {1, "{C1}", "Headset", true}, {2, "{C2}", "Array one", false}, {3, "{C3}", "Array two", false}};

std::string picked(const std::vector<std::string>& wanted) {
    std::string ids;
    for (const PickedDevice& device : pickDevices(kPlayback, kCapture, wanted))
        ids += std::string(directionName(device.direction)) + device.entry.id + " ";
    return ids;
}

TEST(DevicePick, NothingWanted_GivesAll) {
    EXPECT_EQ(picked({}), "playback{P1} playback{P2} capture{C1} capture{C2} capture{C3} ");
}

TEST(DevicePick, Text_GivesOneOfEachDirectionWhereItFits) {
    EXPECT_EQ(picked({"Headset"}), "playback{P2} capture{C1} ");
    EXPECT_EQ(picked({"two"}), "capture{C3} ");
    EXPECT_EQ(picked({"default"}), "playback{P1} capture{C1} ");
}

TEST(DevicePick, Prefix_NamesTheDirection) {
    EXPECT_EQ(picked({"playback:Headset"}), "playback{P2} ");
    EXPECT_EQ(picked({"capture:1"}), "capture{C1} ");
}

TEST(DevicePick, SameDeviceTwice_IsPickedOnce) {
    EXPECT_EQ(picked({"two", "{c3}", "speaker"}), "playback{P1} capture{C3} ");
}

TEST(DevicePick, NoOrManyDevices_AreRefused) {
    EXPECT_THROW(picked({"Headset", "gramophone"}), SelectionError);
    try {
        FAIL() << picked({"array"}); // no speaker, but two microphones are called so
    } catch (const SelectionError& error) {
        EXPECT_NE(std::string(error.what()).find("Array two"), std::string::npos) << error.what();
    }
    EXPECT_THROW(picked({"playback:two"}), SelectionError);
    EXPECT_THROW(picked({"capture:speaker"}), SelectionError);
}

} // namespace
} // namespace soundcheck
