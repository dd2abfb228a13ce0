// The page of a report: order, escaping, and what is left out.
#include "report/page.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace soundcheck {
namespace {

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

Page fullPage() {
    Page page;
    page.title = "soundcheck talk";
    page.verdict = Verdict::failed;
    page.sentence = "The sentence.";
    page.findings = {"The finding."};
    page.sections = {{"The section",
                      {"The paragraph."},
                      {{"The figure", "<svg></svg>"}},
                      {{"The table", {"name", "value"}, {{"blocks", "500"}}}}}};
    page.log = {{"1.000 s", 1, "The log line"}};
    return page;
}

TEST(Page, Parts_ComeInOrder_VerdictFirst) {
    const std::string html = htmlPage(fullPage());
    std::size_t last = html.find("<body>");
    ASSERT_NE(last, std::string::npos);
    for (const char* part : {"<h1>Failed", "The sentence.", "The finding.", "The section", "The paragraph.",
                             "The figure", "<svg>", "<caption>The table", "blocks", "500", "The log line"}) {
        const std::size_t place = html.find(part, last);
        EXPECT_NE(place, std::string::npos) << part;
        last = place == std::string::npos ? last : place;
    }
}

TEST(Page, Verdicts_AreWordsAndNotOnlyColours) {
    EXPECT_TRUE(contains(htmlPage({"t", "", Verdict::passed, "s", {}, {}, {}}), "<h1>Passed</h1>"));
    EXPECT_TRUE(contains(htmlPage({"t", "", Verdict::nothingChecked, "s", {}, {}, {}}), "<h1>Nothing checked</h1>"));
}

TEST(Page, EmptyParts_AreLeftOut) {
    Page page;
    page.sections = {{"Pictures", {}, {{"no data", ""}}, {{"no rows", {"a"}, {}}}}};
    const std::string html = htmlPage(page);
    for (const char* part : {"Findings", "Pictures", "<figure>", "no data", "<table", "no rows", "Log lines"})
        EXPECT_FALSE(contains(html, part)) << part;
}

TEST(Page, EveryText_IsEscaped) {
    const std::string evil = "<script>alert(\"x\")</script>";
    Page page = fullPage();
    page.title = page.sentence = evil;
    page.findings = {evil};
    page.sections = {{evil, {evil}, {{evil, "<svg></svg>"}}, {{evil, {evil, evil, evil}, {{evil, evil, evil}}}}}};
    page.log = {{evil, 1, evil}};
    const std::string html = htmlPage(page);
    EXPECT_FALSE(contains(html, "<script"));
    EXPECT_FALSE(contains(html, "alert(\"x"));
}

TEST(Page, LongIdentifiers_BreakAtSeparators_ShortWordsDoNot) {
    EXPECT_EQ(breakable("the left-hand side"), "the left-hand side");
    EXPECT_EQ(breakable("{0A1B2C3D-1111-2222-3333-444455556666}"),
              "{0A1B2C3D-<wbr>1111-<wbr>2222-<wbr>3333-<wbr>444455556666}");
    EXPECT_EQ(breakable("aaaaaaaaaaaaaaaaaaaa"), "aaaaaaaaaaaaaaaa<wbr>aaaa");
    EXPECT_EQ(breakable("C:\\users\\somebody\\x.wav"), "C:\\<wbr>users\\<wbr>somebody\\<wbr>x.<wbr>wav");
}

TEST(Page, LongWord_IsNeverBrokenInsideACharacter) {
    std::string word;
    for (int i = 0; i < 40; ++i)
        word += "\xC3\xA4";
    const std::string text = breakable("a" + word);
    EXPECT_FALSE(contains(text, "\xEF\xBF\xBD")) << text;
    EXPECT_TRUE(contains(text, "<wbr>"));
}

TEST(Page, NeedsNothingButItself) {
    const std::string html = htmlPage(fullPage());
    for (const char* part : {"http:", "https:", "src=", "href=", "<script", "<link", "@import", "url("})
        EXPECT_FALSE(contains(html, part)) << part;
    EXPECT_TRUE(contains(html, "prefers-color-scheme: dark"));
    EXPECT_TRUE(contains(html, "name=\"viewport\""));
}

} // namespace
} // namespace soundcheck
