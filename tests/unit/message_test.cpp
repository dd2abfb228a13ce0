#include "diagnostics/message.h"

#include <gtest/gtest.h>

namespace directsound {
namespace {

struct GroupedDigits : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(Message, ProcessWithGroupedDigits_NumbersArePlain) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new GroupedDigits));
    std::ostringstream usual;
    usual << 1234567;
    const std::string text = message("slept for ", 1234567, " ms");
    std::locale::global(before);
    EXPECT_EQ(usual.str(), "1.234.567");
    EXPECT_EQ(text, "slept for 1234567 ms");
}

} // namespace
} // namespace directsound
