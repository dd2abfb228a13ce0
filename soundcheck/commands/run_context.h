/**
 * @file
 * What a command runs with, and the ways to the user and into the document that all of them take.
 */
#pragma once

#include "console/call_watch.h"
#include "console/console.h"
#include "console/interrupt.h"
#include "console/log_printer.h"
#include "exit_code.h"
#include "report/document.h"
#include "report/report_file.h"

#include <string>
#include <string_view>

namespace soundcheck {

/** The options that stand before or behind every command. */
struct CommonOptions {
    std::string library; ///< empty: the plug-in beside the program
    LogThreshold log = LogThreshold::warnings;
    std::string report; ///< file of the page; empty: none
    bool json = false;  ///< standard output carries the document and nothing else
};

/** What a command runs with; outlives it. */
struct RunContext {
    Console& console;
    const Interrupt& interrupt;
    const CommonOptions& options;
    Document& document;
    ReportFile* report = nullptr;      ///< null: none was asked for
    const RunContext* outer = nullptr; ///< of the run that this one is a part of; null: it is no part
};

/** Something is wrong: one sentence on standard error and in the document. Any thread. */
void tellFinding(const RunContext& context, std::string_view sentence);

/**
 * Gives the document out where it was asked for, as a page and as text: the last thing of a run, whatever its end.
 * Any thread.
 * @return how the program ends: otherwise than `code` when the page could not be written
 */
ExitCode deliverDocument(const RunContext& context, ExitCode code);

/**
 * Watches a call into the plug-in while the result lives; when the call hangs, the program ends with a finding and
 * a whole document.
 * @param what begins the sentence: "Opening the device"
 */
CallWatch watchCall(const RunContext& context, std::string what);

} // namespace soundcheck
