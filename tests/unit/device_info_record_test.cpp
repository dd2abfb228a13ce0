#include "discovery/device_identifier.h"
#include "discovery/device_info_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace directsound {
namespace {

constexpr GUID kGuid{0x0a1b2c3d, 0x4e5f, 0x6071, {0x82, 0x93, 0xa4, 0xb5, 0xc6, 0xd7, 0xe8, 0xf9}};
constexpr const char* kText = "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}";

TEST(DeviceInfoRecordTest, Describe_Device_IdentifierAndName) {
    DeviceInfoRecord record;
    std::memset(&record, 0xAA, sizeof(record));
    EXPECT_EQ(describeDevice({kGuid, "Speaker", true}, record), 0);
    EXPECT_EQ(record.idLength, 38);
    EXPECT_STREQ(record.id, kText);
    EXPECT_EQ(record.nameLength, 7);
    EXPECT_STREQ(record.name, "Speaker");
    EXPECT_EQ(record.reserved, 0);
    EXPECT_TRUE(std::all_of(std::begin(record.unused), std::end(record.unused), [](auto byte) { return byte == 0; }));
}

TEST(DeviceInfoRecordTest, Describe_LongNames_CutAfter247Bytes) {
    DeviceInfoRecord record;
    for (const std::size_t length : {246U, 247U, 248U, 300U}) {
        EXPECT_EQ(describeDevice({kGuid, std::string(length, 'n'), false}, record), 0);
        EXPECT_EQ(record.nameLength, std::min<std::size_t>(length, 247));
        EXPECT_EQ(std::strlen(record.name), record.nameLength);
    }
}

TEST(DeviceInfoRecordTest, Describe_CutInsideCharacter_CutAllTheSame) {
    DeviceInfoRecord record;
    EXPECT_EQ(describeDevice({kGuid, std::string(246, 'n') + "\xc3\xbc", false}, record), 0);
    EXPECT_EQ(record.nameLength, 247);
    EXPECT_EQ(static_cast<unsigned char>(record.name[246]), 0xc3);
}

TEST(DeviceInfoRecordTest, Describe_EmptyName_Empty) {
    DeviceInfoRecord record;
    EXPECT_EQ(describeDevice({kGuid, "", false}, record), 0);
    EXPECT_EQ(record.nameLength, 0);
    EXPECT_STREQ(record.name, "");
}

TEST(DeviceInfoRecordTest, Identifier_Guid_UpperCaseBracedText) {
    EXPECT_STREQ(deviceIdentifier(kGuid).data(), kText);
}

} // namespace
} // namespace directsound
