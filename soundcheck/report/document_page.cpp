#include "report/document_page.h"

#include "platform/text.h"
#include "report/trace_pictures.h"

#include <algorithm>
#include <array>
#include <utility>

namespace soundcheck {
namespace {

/** Longer lists are for machines, and for pictures. */
constexpr std::size_t kMostRows = 100;
constexpr std::size_t kMostValues = 12;

std::string valueText(const Json& value) {
    if (value.is_null())
        return "-";
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_array() && value.size() > kMostValues)
        return std::to_string(value.size()) + " values";
    if (value.is_array() || value.is_object()) {
        std::string text;
        for (const auto& [name, item] : value.items())
            text += (text.empty() ? "" : ", ") + (value.is_object() ? spokenName(name) + " " : "") + valueText(item);
        return text.empty() ? "-" : text;
    }
    return value.dump();
}

bool isListOfObjects(const Json& value) {
    return value.is_array() && !value.empty() &&
           std::all_of(value.begin(), value.end(), [](const Json& item) { return item.is_object(); });
}

/** The names of all members of all objects, in the order in which they come up. */
std::vector<std::string> membersOf(const Json& objects) {
    std::vector<std::string> members;
    for (const Json& object : objects)
        for (const auto& [name, value] : object.items())
            if (std::find(members.begin(), members.end(), name) == members.end())
                members.push_back(name);
    return members;
}

PageTable tableOf(std::string caption, const Json& objects) {
    const std::vector<std::string> members = membersOf(objects);
    PageTable table{std::move(caption), {}, {}};
    for (const std::string& member : members)
        table.head.push_back(spokenName(member));
    for (const Json& object : objects) {
        if (table.rows.size() == kMostRows) {
            table.caption +=
                " (the first " + std::to_string(kMostRows) + " of " + std::to_string(objects.size()) + ")";
            break;
        }
        std::vector<std::string>& row = table.rows.emplace_back();
        for (const std::string& member : members)
            row.push_back(object.contains(member) ? valueText(object[member]) : "-");
    }
    return table;
}

/** "Windows 10.0.19045, no Wine, Direct Sound 1.0.0" */
std::string environmentLine(const Json& environment) {
    std::string line = "Windows " + valueText(environment["windows"]);
    line += environment["wine"].is_string() ? ", Wine " + environment["wine"].get<std::string>() : ", no Wine";
    const Json& plugin = environment["plugin"];
    if (!plugin.is_object())
        return line + ", no plug-in";
    line += ", " + valueText(plugin["name"]);
    return plugin["version"].is_string() ? line + " " + plugin["version"].get<std::string>() : line;
}

std::string sentenceOf(const Json& document, Verdict verdict) {
    const Json& findings = document["findings"];
    if (verdict == Verdict::passed)
        return document["ended"] == "interrupted" ? "Until it was interrupted, nothing wrong was found."
                                                  : "Nothing wrong was found.";
    if (findings.empty())
        return verdict == Verdict::failed ? "It failed without a word." : "There was nothing to be checked.";
    const auto first = findings.front().get<std::string>();
    return findings.size() == 1 ? first : std::to_string(findings.size()) + " things were found. The first: " + first;
}

std::vector<PageLogLine> logOf(const LogRecord& record) {
    std::vector<PageLogLine> lines;
    const LogRecord::Kept kept = record.kept();
    for (const LogLine& line : kept.lines) {
        if (kept.leftOut != 0 && lines.size() == LogRecord::kFirstLines)
            lines.push_back({"", 0, "(" + std::to_string(kept.leftOut) + " lines are left out here)"});
        lines.push_back({fixedDecimals(line.seconds, 3) + " s", line.level,
                         line.device.empty() ? line.text : line.text + " [" + line.device + "]"});
    }
    return lines;
}

PageSection environmentOf(const Json& environment) {
    PageTable table{"Where it was found", {"what", "value"}, {}};
    for (const auto& [name, value] : environment.items())
        if (value.is_object())
            for (const auto& [inner, text] : value.items())
                table.rows.push_back({spokenName(name) + ", " + spokenName(inner), valueText(text)});
        else
            table.rows.push_back({spokenName(name), valueText(value)});
    return {"Environment", {}, {}, {std::move(table)}};
}

} // namespace

Verdict verdictOf(ExitCode code) {
    return code == ExitCode::done             ? Verdict::passed
           : code == ExitCode::nothingChecked ? Verdict::nothingChecked
                                              : Verdict::failed;
}

std::string spokenName(std::string_view member) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kUnits = {
        {{"_ms", "ms"}, {"_percent", "%"}, {"_db", "dB"}, {"_dbfs", "dBFS"}, {"_hz", "Hz"}, {"_ppm", "ppm"}}};
    std::string unit;
    for (const auto& [suffix, text] : kUnits)
        if (member.size() > suffix.size() && member.ends_with(suffix)) {
            unit = " (" + std::string(text) + ")";
            member.remove_suffix(suffix.size());
            break;
        }
    std::string name(member);
    std::replace(name.begin(), name.end(), '_', ' ');
    return name + unit;
}

std::vector<PageTable> tablesOf(const std::string& caption, const Json& section) {
    PageTable plain{caption, {"what", "value"}, {}};
    std::vector<PageTable> others;
    for (const auto& [name, value] : section.items()) {
        const std::string spoken = spokenName(name);
        std::string inner = caption;
        inner.append(": ").append(spoken);
        if (isListOfObjects(value))
            others.push_back(tableOf(std::move(inner), value));
        else if (value.is_object())
            for (PageTable& table : tablesOf(inner, value))
                others.push_back(std::move(table));
        else
            plain.rows.push_back({spoken, valueText(value)});
    }
    if (!plain.rows.empty())
        others.insert(others.begin(), std::move(plain));
    return others;
}

PageSection detailsOf(Document& document) {
    const Json whole = document.json(ExitCode::done);
    PageSection section{{}, {}, document.pictures(), {}};
    for (PagePicture& picture : picturesOf(document.traces().ended(), document.log()))
        section.pictures.push_back(std::move(picture));
    if (whole["command"].is_string() && whole.contains(whole["command"].get<std::string>())) {
        const auto command = whole["command"].get<std::string>();
        section.tables = tablesOf("What " + command + " found", whole[command]);
    }
    return section;
}

Page pageOf(Document& document, ExitCode code) {
    const Json whole = document.json(code);
    Page page;
    const std::string command = whole["command"].is_string() ? whole["command"].get<std::string>() : "";
    page.title = "soundcheck " + command + ", " + valueText(whole["environment"]["time"]);
    page.environment = environmentLine(whole["environment"]);
    page.verdict = verdictOf(code);
    page.sentence = sentenceOf(whole, page.verdict);
    for (const Json& finding : whole["findings"])
        page.findings.push_back(finding.get<std::string>());

    page.sections = document.pageSections();
    if (page.sections.empty()) {
        PageSection details = detailsOf(document);
        page.sections.push_back({"Pictures", {}, std::move(details.pictures), {}});
        page.sections.push_back({"Numbers", {}, {}, std::move(details.tables)});
    }
    page.sections.push_back(environmentOf(whole["environment"]));
    page.log = logOf(document.log());
    return page;
}

} // namespace soundcheck
