#include "report/page.h"

#include "pictures/drawing.h"
#include "report/page_style.h"

#include <algorithm>
#include <cctype>

namespace soundcheck {
namespace {

constexpr std::size_t kShortWord = 16; ///< letters; fits into half a phone's width

constexpr std::size_t kMostColumnsAtADesk = 7;

bool isBlank(char letter) {
    return letter == ' ' || letter == '\n' || letter == '\t';
}

bool isSeparator(char letter) {
    return std::string_view("-_/\\.:;,=&?})]@").find(letter) != std::string_view::npos;
}

bool continuesCharacter(char letter) { // of UTF-8
    return (static_cast<unsigned char>(letter) & 0xC0) == 0x80;
}

std::string breakableWord(std::string_view word) {
    if (word.size() <= kShortWord)
        return escaped(word);
    std::string result;
    std::size_t start = 0;
    for (std::size_t i = 1; i <= word.size(); ++i) {
        const bool atEnd = i == word.size();
        const bool behindSeparator = !atEnd && isSeparator(word[i - 1]) && !isSeparator(word[i]);
        const bool tooLong = !atEnd && i - start >= kShortWord && !continuesCharacter(word[i]);
        if (!atEnd && !behindSeparator && !tooLong)
            continue;
        result += escaped(word.substr(start, i - start));
        if (!atEnd)
            result += "<wbr>";
        start = i;
    }
    return result;
}

std::string element(std::string_view name, std::string_view text, std::string_view attributes = {}) {
    return "<" + std::string(name) + std::string(attributes) + ">" + breakable(text) + "</" + std::string(name) +
           ">\n";
}

std::string_view verdictClass(Verdict verdict) {
    return verdict == Verdict::passed ? "passed" : verdict == Verdict::failed ? "failed" : "nothing";
}

std::string_view levelName(int level) {
    return level == 1 ? "error" : level == 2 ? "warning" : level == 3 ? "information" : "other";
}

std::string headHtml(const Page& page) {
    // Should anything ever slip through the escaping, the policy still keeps it from running or loading.
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
           escaped(std::string(verdictName(page.verdict)) + " - " + page.title) + "</title>\n<style>" +
           std::string(kPageStyle) + "</style>\n</head>\n";
}

std::string verdictHtml(const Page& page) {
    std::string html = "<header class=\"verdict " + std::string(verdictClass(page.verdict)) + "\">\n" +
                       element("h1", verdictName(page.verdict)) + element("p", page.sentence, " class=\"sentence\"") +
                       element("p", page.title, " class=\"title\"") +
                       (page.environment.empty() ? "" : element("p", page.environment, " class=\"title\"")) +
                       "</header>\n";
    if (!page.findings.empty()) {
        html += "<section>\n<h2>Findings</h2>\n<ul class=\"findings\">\n";
        for (const std::string& finding : page.findings)
            html += element("li", finding);
        html += "</ul>\n</section>\n";
    }
    return html;
}

std::string pictureHtml(const PagePicture& picture) {
    return picture.svg.empty() ? std::string()
                               : "<figure>\n" + element("figcaption", picture.caption) + picture.svg + "</figure>\n";
}

std::string tableHtml(const PageTable& table) {
    if (table.rows.empty())
        return {};
    const bool pairs = table.head.size() <= 2;                 // narrow enough for a phone as they are
    const bool wide = table.head.size() > kMostColumnsAtADesk; // too wide for any reader
    std::string html = std::string("<table class=\"") +
                       (pairs  ? "pairs"
                        : wide ? "cards always"
                               : "cards") +
                       "\">\n" + element("caption", table.caption) + "<thead><tr>";
    for (const std::string& name : table.head)
        html += element("th", name, " scope=\"col\"");
    html += "</tr></thead>\n<tbody>\n";
    for (const std::vector<std::string>& row : table.rows) {
        html += "<tr>";
        for (std::size_t i = 0; i < row.size() && i < table.head.size(); ++i)
            html += i == 0 ? element("th", row[i], " scope=\"row\"")
                           : element("td", row[i], " data-name=\"" + escaped(table.head[i]) + "\"");
        html += "</tr>\n";
    }
    return html + "</tbody>\n</table>\n";
}

std::string sectionHtml(const PageSection& section) {
    std::string html;
    for (const std::string& paragraph : section.paragraphs)
        html += element("p", paragraph);
    for (const PagePicture& picture : section.pictures)
        html += pictureHtml(picture);
    for (const PageTable& table : section.tables)
        html += tableHtml(table);
    return html.empty() ? html : "<section>\n" + element("h2", section.title) + html + "</section>\n";
}

std::string logHtml(const std::vector<PageLogLine>& log) {
    if (log.empty())
        return {};
    std::string html = "<section>\n<h2>Log lines of the plug-in</h2>\n<ol class=\"log\">\n";
    for (const PageLogLine& line : log)
        html += "<li class=\"" + std::string(levelName(line.level)) + "\"><span>" + escaped(line.time) + " " +
                std::string(levelName(line.level)) + "</span> " + breakable(line.text) + "</li>\n";
    return html + "</ol>\n</section>\n";
}

} // namespace

std::string_view verdictName(Verdict verdict) {
    switch (verdict) {
    case Verdict::passed:
        return "Passed";
    case Verdict::failed:
        return "Failed";
    case Verdict::nothingChecked:
        break;
    }
    return "Nothing checked";
}

std::string breakable(std::string_view text) {
    std::string result;
    for (std::size_t start = 0; start < text.size();) {
        if (isBlank(text[start])) {
            result += text[start++];
            continue;
        }
        const auto end = static_cast<std::size_t>(
            std::find_if(text.begin() + static_cast<std::ptrdiff_t>(start), text.end(), isBlank) - text.begin());
        result += breakableWord(text.substr(start, end - start));
        start = end;
    }
    return result;
}

std::string htmlPage(const Page& page) {
    std::string html = headHtml(page) + "<body>\n<main>\n" + verdictHtml(page);
    for (const PageSection& section : page.sections)
        html += sectionHtml(section);
    return html + logHtml(page.log) + "</main>\n</body>\n</html>\n";
}

} // namespace soundcheck
