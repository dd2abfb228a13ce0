#include "report/document.h"

#include "orvosoundbackend.h"
#include "report/environment.h"

#include <cmath>
#include <utility>

namespace soundcheck {
namespace {

Json logJson(const LogRecord& log) {
    Json lines = Json::array();
    const LogRecord::Kept kept = log.kept();
    for (const LogLine& line : kept.lines)
        lines.push_back({{"level", logLevelName(line.level)},
                         {"device", line.device.empty() ? Json(nullptr) : Json(line.device)},
                         {"text", line.text},
                         {"seconds", std::round(line.seconds * 1000) / 1000}});
    return {{"errors", log.count(ORVO_LOG_ERROR)},
            {"warnings", log.count(ORVO_LOG_WARNING)},
            {"information", log.count(ORVO_LOG_INFORMATION)},
            {"left_out", kept.leftOut},
            {"lines", std::move(lines)}};
}

} // namespace

Document::Document(std::string_view command)
    : m_command(command.empty() ? Json(nullptr) : Json(command)), m_environment(environmentOfSystem()) {}

void Document::setPlugin(Json plugin) {
    const std::lock_guard lock(m_mutex);
    m_environment["plugin"] = std::move(plugin);
}

void Document::set(std::string_view command, Json section) {
    const std::lock_guard lock(m_mutex);
    m_sections[std::string(command)] = std::move(section);
}

void Document::addFinding(std::string_view sentence) {
    const std::lock_guard lock(m_mutex);
    m_findings.push_back(sentence);
}

void Document::addPicture(std::string caption, std::string svg) {
    const std::lock_guard lock(m_mutex);
    m_pictures.push_back({std::move(caption), std::move(svg)});
}

std::vector<PagePicture> Document::pictures() const {
    const std::lock_guard lock(m_mutex);
    return m_pictures;
}

void Document::setPageSections(std::vector<PageSection> sections) {
    const std::lock_guard lock(m_mutex);
    m_pageSections = std::move(sections);
}

std::vector<PageSection> Document::pageSections() const {
    const std::lock_guard lock(m_mutex);
    return m_pageSections;
}

void Document::setEnded(std::string_view word) {
    const std::lock_guard lock(m_mutex);
    m_ended = word;
}

Json Document::json(ExitCode code) const {
    const std::lock_guard lock(m_mutex);
    Json whole = {{"soundcheck", {{"schema", kSchema}}}, {"command", m_command}, {"environment", m_environment}};
    whole.update(m_sections);
    whole["log"] = logJson(m_log);
    whole["findings"] = m_findings;
    whole["ended"] = m_ended;
    whole["exit_code"] = toInt(code);
    return whole;
}

std::string Document::text(ExitCode code) const {
    // Device names may be cut inside a character: such a rest becomes a replacement character.
    return json(code).dump(2, ' ', false, Json::error_handler_t::replace);
}

} // namespace soundcheck
