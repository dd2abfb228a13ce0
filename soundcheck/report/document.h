/**
 * @file
 * All that one run of soundcheck found: for `--json`, and for pages made from it. One document per run; it always
 * becomes whole, whatever ends the run.
 *
 * Thread: any. The main thread fills it; when that hangs in a call into the plug-in, the one that notices it writes
 * the document. Ownership: outlives the session whose log lines it keeps.
 */
#pragma once

#include "exit_code.h"
#include "report/log_record.h"
#include "report/page.h"
#include "report/trace_book.h"

#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace soundcheck {

/** Members stay in the order in which they were written. */
using Json = nlohmann::ordered_json;

class Document {
public:
    static constexpr int kSchema = 1;

    /** @param command empty: the command line names none */
    explicit Document(std::string_view command);

    /** Tells which plug-in it is, once it is loaded. */
    void setPlugin(Json plugin);
    /** What a command found, under the command's name; replaces what was there. */
    void set(std::string_view command, Json section);
    /** One sentence about something that is wrong. */
    void addFinding(std::string_view sentence);
    /** `complete`, `interrupted`, `gave-up`, `failed`, `hung`. */
    void setEnded(std::string_view word);

    /** A picture for the page, before those that are made of the traces. */
    void addPicture(std::string caption, std::string svg);
    std::vector<PagePicture> pictures() const;
    /** What stands on the page in the place of pictures and numbers. */
    void setPageSections(std::vector<PageSection> sections);
    std::vector<PageSection> pageSections() const;

    LogRecord& log() { return m_log; }
    TraceBook& traces() { return m_traces; }

    /** The whole document as it stands. */
    Json json(ExitCode code) const;
    /** The same as text, without a line end; always valid UTF-8. */
    std::string text(ExitCode code) const;

private:
    LogRecord m_log;
    TraceBook m_traces;
    mutable std::mutex m_mutex; ///< guards what follows
    Json m_command;
    Json m_environment;
    Json m_sections = Json::object();
    Json m_findings = Json::array();
    std::vector<PagePicture> m_pictures;
    std::vector<PageSection> m_pageSections;
    std::string m_ended = "complete";
};

} // namespace soundcheck
