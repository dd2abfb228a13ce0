#include "console/console.h"

#include "platform/text.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace soundcheck {
namespace {

constexpr std::size_t kUsualWidth = 80;

void write(std::FILE* stream, std::string_view text) { // a closed pipe is the reader's decision, not a failure
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

bool environmentAsksForNoColour() {
    // Any value counts, also an empty one on systems that keep it.
    return GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) != 0;
}

HANDLE systemHandle(std::FILE* stream) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))); // NOLINT: the runtime hands it out as a number
}

} // namespace

Console::Console(std::FILE* output, std::FILE* errors)
    : m_output(output), m_errors(errors), m_terminalHandle(systemHandle(output)) {
    m_terminal = GetConsoleMode(m_terminalHandle, &m_outputMode) != 0;
    m_codePage = GetConsoleOutputCP();
    if (m_codePage != 0)
        SetConsoleOutputCP(CP_UTF8);
    if (m_terminal)
        m_colours = !environmentAsksForNoColour() &&
                    SetConsoleMode(m_terminalHandle, m_outputMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
    else // a program reads it: line ends of one character, everywhere the same
        _setmode(_fileno(output), _O_BINARY);
}

Console::~Console() {
    leaveProgress();
    if (m_terminal)
        SetConsoleMode(m_terminalHandle, m_outputMode);
    if (m_codePage != 0)
        SetConsoleOutputCP(m_codePage);
}

void Console::line(std::string_view text) {
    if (!m_silent)
        document(text);
}

void Console::keepForDocument() {
    m_silent = true;
}

void Console::document(std::string_view text) {
    const std::lock_guard lock(m_mutex);
    leaveProgress();
    write(m_output, std::string(text) + "\n");
}

void Console::errorLine(std::string_view text) {
    const std::lock_guard lock(m_mutex);
    leaveProgress();
    write(m_errors, std::string(text) + "\n");
}

void Console::progress(std::string_view text) {
    const std::lock_guard lock(m_mutex);
    if (!isTerminal())
        return;
    std::wstring line = toWide(text).substr(0, width() - 1); // by characters, not by bytes
    const std::size_t length = line.size();
    if (length < m_progressLength) // wipe the rest of the longer text before
        line.append(m_progressLength - length, L' ');
    m_progressLength = length;
    std::string shown = toUtf8(line);
    if (m_colours && text.find(" CLIP") != std::string_view::npos)
        shown = "\x1b[31m" + shown + "\x1b[0m";
    write(m_output, "\r" + shown);
}

void Console::table(std::span<const std::string> lines) {
    const std::lock_guard lock(m_mutex);
    if (!isTerminal())
        return;
    moveUp(m_tableLines);
    for (const std::string& text : lines) {
        std::wstring shown = toWide(text);
        shown.resize(width() - 1, L' '); // wipes what was there
        write(m_output, toUtf8(shown) + "\n");
    }
    m_tableLines = lines.size();
}

void Console::moveUp(std::size_t lines) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (lines == 0 || !GetConsoleScreenBufferInfo(m_terminalHandle, &info))
        return;
    const auto up =
        static_cast<SHORT>(std::min<std::size_t>(lines, static_cast<std::size_t>(info.dwCursorPosition.Y)));
    SetConsoleCursorPosition(m_terminalHandle, {0, static_cast<SHORT>(info.dwCursorPosition.Y - up)});
}

std::size_t Console::width() const {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(m_terminalHandle, &info))
        return kUsualWidth;
    return static_cast<std::size_t>(std::max(20, info.srWindow.Right - info.srWindow.Left + 1));
}

void Console::leaveProgress() {
    if (m_progressLength != 0)
        write(m_output, "\n");
    m_progressLength = 0;
    m_tableLines = 0;
}

} // namespace soundcheck
