#include "captured_error.h"
#include "devices/device_guid.h"

#include <gtest/gtest.h>

namespace directsound {
namespace {

TEST(DeviceGuidTest, GuidText_Parsed) {
    const DeviceGuid parsed = parseDeviceGuid("{DEF00002-9C6D-47ED-AAF1-4DDA8F2B5C03}");
    EXPECT_EQ(parsed.result, 0);
    EXPECT_EQ(parsed.hr, S_OK);
    EXPECT_EQ(parsed.guid.Data1, 0xDEF00002U);
    EXPECT_EQ(parsed.guid.Data4[7], 0x03);
}

TEST(DeviceGuidTest, OtherText_NoGuidWithReason) {
    for (const char* text : {"", "Speaker", "{DEF00002-9C6D-47ED-AAF1-4DDA8F2B5C03", "{XYZ}"}) {
        const DeviceGuid parsed = parseDeviceGuid(text);
        EXPECT_EQ(parsed.result, -202) << text;
        EXPECT_LT(parsed.hr, 0) << text;
    }
}

TEST(DeviceGuidTest, TooLongText_TheConversionsCode) {
    DeviceGuid parsed{};
    EXPECT_EQ(errorOf([&] { parsed = parseDeviceGuid(std::string(255, 'x')); }), "buffer too small\n");
    EXPECT_EQ(parsed.result, -6);
    EXPECT_EQ(parsed.hr, S_OK) << "no reason but the conversion's";
    EXPECT_EQ(errorOf([&] { parsed = parseDeviceGuid(std::string(254, 'x')); }), "");
    EXPECT_EQ(parsed.result, -202);
}

} // namespace
} // namespace directsound
