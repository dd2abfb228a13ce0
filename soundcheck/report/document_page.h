/**
 * @file
 * The page of a run: what its document holds, for people. Any section becomes tables, so that a new command needs
 * nothing here. Pure function of the document.
 */
#pragma once

#include "report/document.h"
#include "report/page.h"

namespace soundcheck {

Page pageOf(Document& document, ExitCode code);

Verdict verdictOf(ExitCode code);

/** Its pictures, and what the command found as tables. */
PageSection detailsOf(Document& document);

/** "longest_gap_ms" -> "longest gap (ms)". */
std::string spokenName(std::string_view member);

/** A section as tables: its plain members, then one table per list of objects and per object in it. */
std::vector<PageTable> tablesOf(const std::string& caption, const Json& section);

} // namespace soundcheck
