#include "diagnostics/last_error_text.h"

#include <gtest/gtest.h>

namespace directsound {
namespace {

TEST(LastErrorText, KnownError_NumberAndTheSystemsMessageUntrimmed) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    const std::string text = lastErrorText();
    EXPECT_EQ(text.substr(0, 9), "error 2: ");
    EXPECT_GT(text.size(), 11U);
    EXPECT_EQ(text.substr(text.size() - 2), "\r\n");
}

TEST(LastErrorText, NumberWithoutMessage_FixedText) {
    SetLastError(0x2FFFFFFF);
    EXPECT_EQ(lastErrorText(), "error 805306367: no message");
}

TEST(LastErrorText, LargeNumber_SignedDecimal) {
    SetLastError(0xE0000001);
    EXPECT_EQ(lastErrorText(), "error -536870911: no message");
}

} // namespace
} // namespace directsound
