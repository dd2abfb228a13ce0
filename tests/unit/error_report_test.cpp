#include "diagnostics/error_report.h"

#include <gtest/gtest.h>

#include <string>

namespace directsound {
namespace {

constexpr HRESULT kBufferLost = static_cast<HRESULT>(0x88780096);

struct Line {
    int count = 0;
    std::string category, text;
    std::int32_t level = 0;
};

void keepLine(void* context, const char* category, const char* text, std::int32_t level) {
    auto& line = *static_cast<Line*>(context);
    ++line.count;
    line.category = category;
    line.text = text;
    line.level = level;
}

TEST(ErrorReport, Line_KnownHresult_NameTextAndHexadecimal) {
    EXPECT_EQ(errorReportLine(-225, kBufferLost),
              "unknown error: Buffer memory has been lost, and must be restored (0x88780096)");
    EXPECT_EQ(errorReportLine(-4, kBufferLost),
              "NOTSUPPORTED: Buffer memory has been lost, and must be restored (0x88780096)");
}

TEST(ErrorReport, Line_SystemText_KeepsItsNul) {
    const std::string line = errorReportLine(-202, static_cast<HRESULT>(0xABCDEF01));
    EXPECT_EQ(line, std::string("unknown error: Unknown error 0xABCDEF01\0 (-1412567295) (0xabcdef01)", 67));
}

TEST(ErrorReport, Join_EmptyText_HexadecimalAlone) {
    EXPECT_EQ(joinErrorReport(-225, "unknown error", "", kBufferLost), "unknown error: 0x88780096");
}

TEST(ErrorReport, Join_EmptyName_CodeWithMinus) {
    EXPECT_EQ(joinErrorReport(-225, "", "text", kBufferLost), "-225: text (0x88780096)");
}

TEST(ErrorReport, Log_WithSink_LevelOneUnderTheDevice) {
    Line line;
    const BackendCallbacks callbacks{&line, nullptr, nullptr, nullptr, keepLine};
    logErrorReport(callbacks, "{device}", -203, kBufferLost);
    EXPECT_EQ(line.count, 1);
    EXPECT_EQ(line.category, "{device}");
    EXPECT_EQ(line.text, "unknown error: Buffer memory has been lost, and must be restored (0x88780096)");
    EXPECT_EQ(line.level, 1);
}

TEST(ErrorReport, Log_SystemText_ReaderSeesTheMessageAlone) {
    Line line;
    const BackendCallbacks callbacks{&line, nullptr, nullptr, nullptr, keepLine};
    logErrorReport(callbacks, "", -203, static_cast<HRESULT>(0xABCDEF01));
    EXPECT_EQ(line.text, "unknown error: Unknown error 0xABCDEF01");
}

TEST(ErrorReport, Log_WithoutSink_Dropped) {
    Line line;
    const BackendCallbacks callbacks{&line, nullptr, nullptr, nullptr, nullptr};
    logErrorReport(callbacks, "{device}", -203, kBufferLost);
    EXPECT_EQ(line.count, 0);
}

} // namespace
} // namespace directsound
