#include "client/device_selection.h"

#include <gtest/gtest.h>

namespace soundcheck {
namespace {

class DeviceSelection : public testing::Test {
protected:
    std::string chosen(std::string_view wanted) const { return selectDevice(m_devices, wanted).id; }
    std::string refusal(std::string_view wanted) const {
        try {
            return "chosen: " + chosen(wanted);
        } catch (const SelectionError& error) {
            return error.what();
        }
    }
    std::vector<DeviceEntry> m_devices = {
        {1, "{AAAA0000-0000-0000-0000-000000000001}", "Speaker", false},
        {2, "{AAAA0000-0000-0000-0000-000000000002}", "Speaker 7.1 of the hall", true},
        {3, "{AAAA0000-0000-0000-0000-000000000003}", "Köpfhörer ÄÖÜ", false}};
};

TEST_F(DeviceSelection, Default_IsTheMarkedOne) {
    EXPECT_EQ(chosen("Default"), m_devices[1].id);
}

TEST_F(DeviceSelection, NoDefault_IsToldAsSuch) {
    m_devices[1].isDefault = false;
    EXPECT_NE(refusal("default").find("default"), std::string::npos);
}

TEST_F(DeviceSelection, Identifier_InAnyCase) {
    EXPECT_EQ(chosen("{aaaa0000-0000-0000-0000-000000000003}"), m_devices[2].id);
}

TEST_F(DeviceSelection, Number_OfTheList) {
    EXPECT_EQ(chosen("3"), m_devices[2].id);
}

TEST_F(DeviceSelection, NumberOutsideTheList_MayBePartOfAName) {
    EXPECT_EQ(chosen("7"), m_devices[1].id);
    EXPECT_NE(refusal("4").find("no device"), std::string::npos);
}

TEST_F(DeviceSelection, WholeName_WinsOverParts) {
    EXPECT_EQ(chosen("speaker"), m_devices[0].id);
}

TEST_F(DeviceSelection, UniquePart_IgnoresCaseOutsideAscii) {
    EXPECT_EQ(chosen("HÖRER äö"), m_devices[2].id);
}

TEST_F(DeviceSelection, AmbiguousPart_NamesTheCandidates) {
    const std::string sentence = refusal("eaker");
    EXPECT_NE(sentence.find("1 (Speaker)"), std::string::npos);
    EXPECT_NE(sentence.find("2 (Speaker 7.1 of the hall)"), std::string::npos);
}

TEST_F(DeviceSelection, UnknownOrEmpty_IsRefused) {
    EXPECT_NE(refusal("gramophone").find("gramophone"), std::string::npos);
    EXPECT_NE(refusal("").find("no device"), std::string::npos);
}

} // namespace
} // namespace soundcheck
