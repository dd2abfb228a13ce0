#include "captured_error.h"
#include "diagnostics/text_conversion.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace directsound {
namespace {

TEST(TextConversion, Utf8ToUtf16_TerminatedSource_CountsTheTerminator) {
    wchar_t wide[8];
    EXPECT_EQ(utf8ToUtf16("\xc3\xbc\xe2\x82\xac", -1, wide, 8), 3);
    EXPECT_EQ(std::wstring(wide), L"\u00fc\u20ac");
}

TEST(TextConversion, Utf8ToUtf16_CountedSource_NoTerminator) {
    wchar_t wide[4] = {L'x', L'x', L'x', L'x'};
    EXPECT_EQ(utf8ToUtf16("ab", 2, wide, 4), 2);
    EXPECT_EQ(wide[2], L'x');
}

TEST(TextConversion, Utf16ToUtf8_TerminatedSource_CountsTheTerminator) {
    char narrow[8];
    EXPECT_EQ(utf16ToUtf8(L"\u00fc\u20ac", -1, narrow, 8), 6);
    EXPECT_STREQ(narrow, "\xc3\xbc\xe2\x82\xac");
}

TEST(TextConversion, Failed_NegativeResultsOnly) {
    EXPECT_TRUE(conversionFailed(-1));
    EXPECT_FALSE(conversionFailed(0));
    EXPECT_FALSE(conversionFailed(1));
}

TEST(TextConversion, EmptySource_TheTerminatorAlone) {
    wchar_t wide[1];
    EXPECT_EQ(utf8ToUtf16("", -1, wide, 1), 1);
    char narrow[1];
    EXPECT_EQ(utf16ToUtf8(L"", -1, narrow, 1), 1);
}

TEST(TextConversion, BufferThatJustFits_IsFilledAndNoMore) {
    wchar_t wide[] = L"....x";
    EXPECT_EQ(utf8ToUtf16("abc", -1, wide, 4), 4);
    EXPECT_EQ(std::wstring(wide, 5), (std::wstring{L'a', L'b', L'c', L'\0', L'x'}));
    EXPECT_EQ(errorOf([&] { EXPECT_EQ(utf8ToUtf16("abc", -1, wide, 3), -6); }), "buffer too small\n");
    char narrow[] = "....x";
    EXPECT_EQ(utf16ToUtf8(L"abc", -1, narrow, 4), 4);
    EXPECT_EQ(std::string(narrow, 5), (std::string{'a', 'b', 'c', '\0', 'x'}));
    EXPECT_EQ(errorOf([&] { EXPECT_EQ(utf16ToUtf8(L"abc", -1, narrow, 3), -6); }), "buffer too small\n");
}

TEST(TextConversion, BufferTooSmall_MinusSixAndALine) {
    wchar_t wide[2];
    EXPECT_EQ(errorOf([&] { EXPECT_EQ(utf8ToUtf16("abc", -1, wide, 2), -6); }), "buffer too small\n");
    char narrow[2];
    EXPECT_EQ(errorOf([&] { EXPECT_EQ(utf16ToUtf8(L"abc", -1, narrow, 2), -6); }), "buffer too small\n");
}

TEST(TextConversion, OtherFailure_MinusOneAndTheSystemsText) {
    wchar_t wide[2];
    const std::string line = errorOf([&] { EXPECT_EQ(utf8ToUtf16(nullptr, -1, wide, 2), -1); });
    EXPECT_EQ(line.substr(0, 10), "error 87: ");
    EXPECT_EQ(line.back(), '\n');
}

} // namespace
} // namespace directsound
