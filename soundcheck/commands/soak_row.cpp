#include "commands/soak_row.h"

#include "audio/level_meter.h"
#include "commands/device_list.h"
#include "platform/text.h"

#include <algorithm>
#include <array>

namespace soundcheck {
namespace {

constexpr std::size_t kLeastName = 8;

/** Columns behind the name; wide enough for two days, and narrow enough for a terminal of 80 characters. */
struct Column {
    const char* title;
    std::size_t width;
};
constexpr std::array<Column, 8> kColumns = {{{"state", 8},
                                             {"blocks", 8},
                                             {"level dB", 9},
                                             {"gap ms", 7},
                                             {"late", 6},
                                             {"bursts", 7},
                                             {"echo", 8},
                                             {"no echo", 8}}};
constexpr std::size_t kDirectionWidth = 9;

using Cells = std::array<std::string, kColumns.size()>;

std::size_t numbersWidth() {
    std::size_t sum = 0;
    for (const Column& column : kColumns)
        sum += column.width;
    return sum;
}

std::string leftAligned(std::string_view text, std::size_t width) {
    std::wstring letters = toWide(text);
    letters.resize(width, L' ');
    return toUtf8(letters);
}

std::string rightAligned(const std::string& text, std::size_t width) {
    return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

std::string tableLine(std::string_view direction, std::string_view name, std::size_t nameWidth, const Cells& cells) {
    std::string line = leftAligned(direction, kDirectionWidth) + leftAligned(name, nameWidth);
    for (std::size_t i = 0; i < kColumns.size(); ++i)
        line += rightAligned(cells[i], kColumns[i].width);
    return line;
}

Cells cellsOf(const SoakRow& row) {
    return {stateName(row.state),
            std::to_string(row.blocks),
            fixedDecimals(decibels(row.peak), 1),
            fixedDecimals(row.longestGapMilliseconds(), 1),
            std::to_string(row.intervals.late()),
            std::to_string(row.intervals.bursts()),
            row.associated ? std::to_string(row.withReference) : "-",
            row.associated ? std::to_string(row.withoutReference) : "-"};
}

} // namespace

const char* stateName(SoakState state) {
    switch (state) {
    case SoakState::failed:
        return "failed";
    case SoakState::silent:
        return "silent";
    case SoakState::running:
        return "running";
    case SoakState::stalled:
        break;
    }
    return "stalled";
}

std::vector<std::string> soakTable(std::span<const SoakRow> rows, std::size_t width) {
    std::size_t nameWidth = kLeastName;
    for (const SoakRow& row : rows)
        nameWidth = std::max(nameWidth, toWide(row.name).size());
    const std::size_t taken = kDirectionWidth + numbersWidth();
    nameWidth = std::min(nameWidth, std::max(kLeastName, width > taken ? width - taken : 0));

    Cells titles;
    std::transform(kColumns.begin(), kColumns.end(), titles.begin(),
                   [](const Column& column) { return column.title; });
    std::vector<std::string> lines = {tableLine("", "device", nameWidth, titles)};
    for (const SoakRow& row : rows)
        lines.push_back(tableLine(directionName(row.direction), row.name, nameWidth, cellsOf(row)));
    return lines;
}

} // namespace soundcheck
