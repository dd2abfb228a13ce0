/**
 * @file
 * What a command says at its end: one line of numbers for programs, and a sentence for each thing that is wrong.
 */
#pragma once

#include "console/console.h"
#include "console/log_printer.h"
#include "exit_code.h"
#include "orvosoundbackend.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace soundcheck {

/** `summary command=play blocks=500 device="Speaker" ...`: names are never changed, only added. */
class Summary {
public:
    explicit Summary(std::string_view command) : m_text("summary command=" + std::string(command)) {}

    Summary& add(std::string_view name, std::uint64_t value);
    Summary& add(std::string_view name, double value, int decimals);
    /** Text that may hold blanks: in quotes. */
    Summary& addQuoted(std::string_view name, std::string_view value);
    Summary& addWord(std::string_view name, std::string_view value);
    Summary& addLogCounts(const LogPrinter& log);

    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

/** Collects what is wrong; each finding is told at once. */
class Checks {
public:
    explicit Checks(Console& console) : m_console(console) {}
    void expect(bool condition, std::string_view sentence);
    ExitCode exitCode() const { return m_failed ? ExitCode::checkFailed : ExitCode::done; }

private:
    Console& m_console;
    bool m_failed = false;
};

} // namespace soundcheck
