#include "discovery/device_changes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace directsound {
namespace {

using testing::ElementsAre;

constexpr GUID guid(unsigned long number) {
    return {number, 0, 0, {}};
}

DeviceMap devices(const std::vector<unsigned long>& numbers, unsigned long defaultNumber) {
    DeviceMap map;
    for (const unsigned long number : numbers)
        map.emplace(guid(number), DeviceEntry{guid(number), "device", number == defaultNumber});
    return map;
}

std::vector<unsigned long> numbersOf(const std::vector<GUID>& guids) {
    std::vector<unsigned long> numbers;
    numbers.reserve(guids.size());
    for (const GUID& entry : guids)
        numbers.push_back(entry.Data1);
    return numbers;
}

void note(void* context, std::int32_t event, const char* deviceId, std::int32_t value) {
    static_cast<std::vector<std::string>*>(context)->push_back(
        std::to_string(event) + " " + std::string(deviceId).substr(0, 9) + " " + std::to_string(value));
}

TEST(GuidOrder, Fields_ComparedAsUnsignedNumbersInTurn) {
    const GuidLess less;
    EXPECT_TRUE(less({1, 9, 9, {9}}, {2, 0, 0, {0}}));
    EXPECT_TRUE(less({0x7FFFFFFF, 0, 0, {}}, {0x80000000, 0, 0, {}}));
    EXPECT_TRUE(less({1, 0x7FFF, 9, {9}}, {1, 0x8000, 0, {0}}));
    EXPECT_TRUE(less({1, 1, 0x7FFF, {9}}, {1, 1, 0x8000, {0}}));
    EXPECT_TRUE(less({1, 1, 1, {0x7F, 9}}, {1, 1, 1, {0x80, 0}}));
    EXPECT_TRUE(less({1, 1, 1, {0, 0, 0, 0, 0, 0, 0, 1}}, {1, 1, 1, {0, 0, 0, 0, 0, 0, 0, 2}}));
    EXPECT_FALSE(less({1, 1, 1, {1}}, {1, 1, 1, {1}}));
    EXPECT_FALSE(less({2, 0, 0, {}}, {1, 9, 9, {}}));
}

TEST(DeviceChanges, SameLists_NoChange) {
    const auto changes = compareDevices(devices({1, 2}, 1), devices({1, 2}, 1), guid(1));
    EXPECT_TRUE(changes.added.empty());
    EXPECT_TRUE(changes.removed.empty());
    EXPECT_FALSE(changes.newDefault.has_value());
}

TEST(DeviceChanges, AddedAndRemoved_EachInGuidOrder) {
    const auto changes = compareDevices(devices({1, 5, 3}, 1), devices({1, 4, 2}, 1), guid(1));
    EXPECT_THAT(numbersOf(changes.added), ElementsAre(2, 4));
    EXPECT_THAT(numbersOf(changes.removed), ElementsAre(3, 5));
    EXPECT_FALSE(changes.newDefault.has_value());
}

TEST(DeviceChanges, OtherDefault_NewDefault) {
    const auto changes = compareDevices(devices({1, 2}, 1), devices({1, 2}, 2), guid(2));
    ASSERT_TRUE(changes.newDefault.has_value());
    EXPECT_EQ(changes.newDefault->Data1, 2U);
}

TEST(DeviceChanges, AddedDeviceIsDefault_NewDefault) {
    const auto changes = compareDevices(devices({1}, 1), devices({1, 2}, 2), guid(2));
    ASSERT_TRUE(changes.newDefault.has_value());
    EXPECT_EQ(changes.newDefault->Data1, 2U);
}

TEST(DeviceChanges, OtherName_NoChange) {
    DeviceMap renamed = devices({1}, 1);
    renamed.begin()->second.name = "renamed";
    const auto changes = compareDevices(devices({1}, 1), renamed, guid(1));
    EXPECT_TRUE(changes.added.empty() && changes.removed.empty() && !changes.newDefault);
}

TEST(DeviceChanges, Notify_AllKinds_AddedThenDefaultThenRemoved) {
    std::vector<std::string> events;
    const BackendCallbacks callbacks{&events, note, nullptr, nullptr, nullptr};
    notifyChanges(callbacks, {{guid(2), guid(3)}, {guid(4), guid(5)}, guid(3)}, 2);
    EXPECT_THAT(events,
                ElementsAre("2 {00000002 2", "4 {00000002 1", "2 {00000003 2", "4 {00000003 1", "1 {00000003 2",
                            "4 {00000004 4", "3 {00000004 2", "4 {00000005 4", "3 {00000005 2"));
}

TEST(DeviceChanges, Notify_NoChange_Silent) {
    std::vector<std::string> events;
    const BackendCallbacks callbacks{&events, note, nullptr, nullptr, nullptr};
    notifyChanges(callbacks, {}, 1);
    EXPECT_TRUE(events.empty());
}

} // namespace
} // namespace directsound
