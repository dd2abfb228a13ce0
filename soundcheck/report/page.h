/**
 * @file
 * A report as one HTML page that needs nothing but itself: no network, no script; light or dark as the reader's
 * system is, readable on a phone. Verdict first, then findings, pictures, numbers, log lines. Pure functions.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace soundcheck {

enum class Verdict { passed, failed, nothingChecked };

struct PagePicture {
    std::string caption; ///< what it shows, and how to read it
    std::string svg;     ///< as the pictures give it; empty: the picture is left out
};

struct PageTable {
    std::string caption;
    std::vector<std::string> head; ///< one name per column; on a phone each cell carries its own
    std::vector<std::vector<std::string>> rows;
};

struct PageSection {
    std::string title;
    std::vector<std::string> paragraphs;
    std::vector<PagePicture> pictures;
    std::vector<PageTable> tables;
};

struct PageLogLine {
    std::string time; ///< "3.214 s"
    int level = 0;    ///< 1 error, 2 warning, 3 information
    std::string text;
};

struct Page {
    std::string title;
    std::string environment; ///< system and plug-in in a line
    Verdict verdict = Verdict::nothingChecked;
    std::string sentence;              ///< the verdict in one sentence
    std::vector<std::string> findings; ///< what is wrong or worth knowing, the worst first
    std::vector<PageSection> sections; ///< one without pictures, tables and paragraphs is left out
    std::vector<PageLogLine> log;      ///< the plug-in's
};

/** "Passed", "Failed", "Nothing checked". */
std::string_view verdictName(Verdict verdict);

/** The whole file. All texts are plain and are escaped here. */
std::string htmlPage(const Page& page);

/** Escaped, with places where a long identifier or path may break; short words stay whole. */
std::string breakable(std::string_view text);

} // namespace soundcheck
