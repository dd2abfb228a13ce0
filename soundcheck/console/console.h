/**
 * @file
 * The program's two text streams in UTF-8: results on standard output, sentences about failures on standard error.
 * Tests give two files of their own. When a machine reads the output it gets one document instead of the results.
 *
 * Thread: any; lines of several threads do not mix. Ownership: sets the console's code page and mode, restores
 * both when it goes. Failure: a closed stream is not an error.
 */
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdio>
#include <mutex>
#include <span>
#include <string>
#include <string_view>

namespace soundcheck {

class Console {
public:
    explicit Console(std::FILE* output = stdout, std::FILE* errors = stderr);
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;
    ~Console();

    /** One line of result. */
    void line(std::string_view text);
    /** One line on standard error. */
    void errorLine(std::string_view text);
    /** Shows `text` in the line that is rewritten in place; nothing when the output is no terminal. */
    void progress(std::string_view text);

    /** Shows lines that are rewritten in place, until another line comes; nothing when the output is no terminal. */
    void table(std::span<const std::string> lines);

    /** From now on standard output carries the document only; lines and progress are left out. */
    void keepForDocument();
    /** Writes the document, ending with a line end; also after keepForDocument. */
    void document(std::string_view text);

    /** Whether progress is shown. */
    bool isTerminal() const { return m_terminal && !m_silent; }
    /** Characters that fit into one line of the terminal. */
    std::size_t width() const;

private:
    void leaveProgress();
    void moveUp(std::size_t lines);

    std::FILE* m_output;
    std::FILE* m_errors;
    HANDLE m_terminalHandle;
    std::mutex m_mutex;
    bool m_terminal = false;
    bool m_silent = false; ///< set before other threads use the console
    bool m_colours = false;
    UINT m_codePage = 0;    ///< to be restored; 0: there is no console
    DWORD m_outputMode = 0; ///< to be restored
    std::size_t m_progressLength = 0;
    std::size_t m_tableLines = 0; ///< above the cursor, to be rewritten
};

} // namespace soundcheck
