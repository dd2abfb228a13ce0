#include "diagnostics/format_wide.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace directsound {
namespace {

constexpr HRESULT kInvalidParameter = static_cast<HRESULT>(0x80070057);
constexpr HRESULT kInsufficientBuffer = static_cast<HRESULT>(0x8007007A);

TEST(FormatWide, ValuesThatFit_Formatted) {
    wchar_t buffer[32];
    EXPECT_EQ(formatWide(buffer, 32, L"error %d: %s", -5, L"gr\u00fcn"), 0);
    EXPECT_EQ(std::wstring(buffer), L"error -5: gr\u00fcn");
}

TEST(FormatWide, ExactFit_NotCut) {
    wchar_t buffer[4] = {L'x', L'x', L'x', L'x'};
    EXPECT_EQ(formatWide(buffer, 4, L"%d", 123), 0);
    EXPECT_EQ(std::wstring(buffer), L"123");
}

TEST(FormatWide, OneTooLong_CutAndTerminated) {
    wchar_t buffer[4];
    EXPECT_EQ(formatWide(buffer, 4, L"%d", 1234), kInsufficientBuffer);
    EXPECT_EQ(std::wstring(buffer), L"123");
}

TEST(FormatWide, CapacityOne_OnlyTheTerminatorFits) {
    wchar_t buffer[1] = {L'x'};
    EXPECT_EQ(formatWide(buffer, 1, L"a"), kInsufficientBuffer);
    EXPECT_EQ(buffer[0], L'\0');
    buffer[0] = L'x';
    EXPECT_EQ(formatWide(buffer, 1, L""), 0);
    EXPECT_EQ(buffer[0], L'\0');
}

TEST(FormatWide, CapacityZero_NothingWritten) {
    wchar_t buffer[1] = {L'x'};
    EXPECT_EQ(formatWide(buffer, 0, L"a"), kInvalidParameter);
    EXPECT_EQ(buffer[0], L'x');
}

TEST(FormatWide, CapacityBeyondLimit_EmptyAndRefused) {
    wchar_t buffer[2] = {L'x', L'x'};
    EXPECT_EQ(formatWide(buffer, std::size_t{2147483648}, L"a"), kInvalidParameter);
    EXPECT_EQ(buffer[0], L'\0');
    EXPECT_EQ(buffer[1], L'x');
}

TEST(FormatWide, CapacityAtLimit_Formatted) {
    // The limit's four gigabytes are reserved; only the pages of the first and the last unit exist.
    constexpr std::size_t kCapacity = 2147483647;
    constexpr std::size_t kPage = 4096;
    auto* const memory = static_cast<std::byte*>(
        VirtualAlloc(nullptr, kCapacity * sizeof(wchar_t) + kPage, MEM_RESERVE, PAGE_READWRITE));
    ASSERT_NE(memory, nullptr);
    ASSERT_NE(VirtualAlloc(memory, kPage, MEM_COMMIT, PAGE_READWRITE), nullptr);
    ASSERT_NE(VirtualAlloc(memory + (kCapacity - 1) * sizeof(wchar_t), kPage, MEM_COMMIT, PAGE_READWRITE), nullptr);
    auto* const buffer = reinterpret_cast<wchar_t*>(memory);
    EXPECT_EQ(formatWide(buffer, kCapacity, L"%d", 12), 0);
    EXPECT_EQ(std::wstring(buffer), L"12");
    VirtualFree(memory, 0, MEM_RELEASE);
}

} // namespace
} // namespace directsound
