#include "diagnostics/hresult_text.h"

#include <gtest/gtest.h>

#include <utility>

namespace directsound {
namespace {

std::string textOf(unsigned long value) {
    return hresultText(static_cast<HRESULT>(value));
}

TEST(HresultText, DirectSoundValues_FixedTexts) {
    const std::pair<unsigned long, const char*> texts[] = {
        {0x8878001E, "The requested control is not available"},
        {0x88780032, "The call is not valid for the current state of this object"},
        {0x88780046, "The function requires a higher priority level"},
        {0x88780064, "The specified wave format is not supported"},
        {0x88780078, "No sound driver is available for use"},
        {0x88780096, "Buffer memory has been lost, and must be restored"},
        {0x887800A0, "Another dsound app has focus, preventing this call from succeeding"},
        {0x887800AA, "This object has not been initialized"},
        {0x887800BE, "Attempted to use DirectSound 8+ functionality on an older DirectSound object"},
    };
    for (const auto& [value, text] : texts)
        EXPECT_EQ(textOf(value), text);
}

TEST(HresultText, OtherDirectSoundValues_LeftToTheSystem) {
    for (const unsigned long value : {0x8878000AUL, 0x88780082UL, 0x887800B4UL}) {
        const std::string text = textOf(value);
        const std::string number = std::to_string(static_cast<int>(value));
        ASSERT_GT(text.size(), number.size() + 3);
        EXPECT_EQ(text.substr(text.size() - number.size() - 3), " (" + number + ")");
        EXPECT_NE(text.find('\0'), std::string::npos);
    }
}

TEST(HresultText, AudioClientValues_SymbolicNamesInOrder) {
    const char* names[] = {
        "AUDCLNT_E_NOT_INITIALIZED",
        "AUDCLNT_E_ALREADY_INITIALIZED",
        "AUDCLNT_E_WRONG_ENDPOINT_TYPE",
        "AUDCLNT_E_DEVICE_INVALIDATED",
        "AUDCLNT_E_NOT_STOPPED",
        "AUDCLNT_E_BUFFER_TOO_LARGE",
        "AUDCLNT_E_OUT_OF_ORDER",
        "AUDCLNT_E_UNSUPPORTED_FORMAT",
        "AUDCLNT_E_INVALID_SIZE",
        "AUDCLNT_E_DEVICE_IN_USE",
        "AUDCLNT_E_BUFFER_OPERATION_PENDING",
        "AUDCLNT_E_THREAD_NOT_REGISTERED",
        "AUDCLNT_E_NO_SINGLE_PROCESS",
        "AUDCLNT_E_EXCLUSIVE_MODE_NOT_ALLOWED",
        "AUDCLNT_E_ENDPOINT_CREATE_FAILED",
        "AUDCLNT_E_SERVICE_NOT_RUNNING",
        "AUDCLNT_E_EVENTHANDLE_NOT_EXPECTED",
        "AUDCLNT_E_EXCLUSIVE_MODE_ONLY",
        "AUDCLNT_E_BUFDURATION_PERIOD_NOT_EQUAL",
        "AUDCLNT_E_EVENTHANDLE_NOT_SET",
        "AUDCLNT_E_INCORRECT_BUFFER_SIZE",
        "AUDCLNT_E_BUFFER_SIZE_ERROR",
        "AUDCLNT_E_CPUUSAGE_EXCEEDED",
    };
    unsigned long value = 0x88890001;
    for (const char* name : names)
        EXPECT_EQ(textOf(value++), name);
    EXPECT_EQ(value, 0x88890018UL);
}

TEST(HresultText, BesideTheAudioClientValues_LeftToTheSystem) {
    EXPECT_EQ(textOf(0x88890018).find("AUDCLNT"), std::string::npos);
    EXPECT_EQ(textOf(0x88890000).find("AUDCLNT"), std::string::npos);
    EXPECT_NE(textOf(0x88890018).find('\0'), std::string::npos);
}

TEST(HresultText, SystemMessage_WithoutLineEndAndWithDecimal) {
    const std::string text = textOf(0x80070005); // access denied
    const std::size_t end = text.find('\0');
    ASSERT_NE(end, std::string::npos);
    EXPECT_GT(end, 2U);
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(text.find('\r'), std::string::npos);
    EXPECT_EQ(text.substr(end), std::string("\0 (-2147024891)", 15));
}

TEST(HresultText, DispatchValueWithoutMessage_NumberedFromTwoHundred) {
    EXPECT_EQ(textOf(0x80040FFF), std::string("IDispatch error #3583\0 (-2147217409)", 36));
    EXPECT_EQ(textOf(0x8004FFFF), std::string("IDispatch error #65023\0 (-2147155969)", 37));
}

TEST(HresultText, ValueWithoutMessage_UpperCaseHexadecimal) {
    EXPECT_EQ(textOf(0xABCDEF01), std::string("Unknown error 0xABCDEF01\0 (-1412567295)", 39));
    EXPECT_EQ(textOf(0x80050000), std::string("Unknown error 0x80050000\0 (-2147155968)", 39));
}

} // namespace
} // namespace directsound
