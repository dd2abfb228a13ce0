#include "commands/doctor_examination.h"

#include "audio/level_meter.h"
#include "audio/wav_reader.h"
#include "commands/doctor_notes.h"
#include "commands/guarded_run.h"
#include "platform/text.h"
#include "report/document_page.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace soundcheck {
namespace {

/** The loudest sample of a recording of 8 or 16 bits. */
double peakOf(const std::string& file) {
    WavReader reader(toPath(file));
    LevelMeter meter;
    std::vector<std::byte> bytes(reader.format().bytesPerFrame * 4096);
    while (const std::size_t count = reader.read(bytes)) {
        if (reader.format().encoding == SampleEncoding::Unsigned8)
            meter.add(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), count));
        else
            meter.add(std::span(reinterpret_cast<const std::int16_t*>(bytes.data()), count / 2));
    }
    return decibels(meter.takePeak());
}

std::string_view verdictWord(Verdict verdict) { // as wide as the widest, so that a list of them is one
    return verdict == Verdict::passed   ? "passed         "
           : verdict == Verdict::failed ? "FAILED         "
                                        : "nothing checked";
}

std::string_view verdictMember(Verdict verdict) {
    return verdict == Verdict::passed ? "passed" : verdict == Verdict::failed ? "failed" : "nothing checked";
}

} // namespace

DoctorExamination::Result DoctorExamination::examine(const DoctorCheck& check, Json& found) {
    Result result;
    result.title = check.title;
    result.note = check.reason;
    if (check.arguments.empty())
        return result;
    result.command = check.arguments.front();
    const InnerRun inner = runInner(m_context, check.arguments);
    const Json whole = inner.document->json(inner.code);
    if (const Json& plugin = whole["environment"]["plugin"]; plugin.is_object())
        m_context.document.setPlugin(plugin); // each check loads it anew; the report is about it
    if (whole.contains(result.command))
        found = whole[result.command];
    for (const Json& finding : whole["findings"])
        result.findings.push_back(finding.get<std::string>());
    result.code = inner.code;
    result.verdict = verdictOf(inner.code);
    const bool interrupted = whole["ended"] == "interrupted";
    m_interrupted = m_interrupted || interrupted;
    if (interrupted && result.verdict == Verdict::passed) // it has not seen all of it
        result.verdict = Verdict::nothingChecked;
    if (result.command == "record" && result.verdict == Verdict::passed)
        found["peak_db"] = std::round(peakOf(check.arguments[1]) * 10) / 10;
    result.note = doctorNote(result.command, result.verdict, found);
    result.details = detailsOf(*inner.document);
    return result;
}

Json DoctorExamination::perform(const std::vector<DoctorCheck>& checks) {
    Json last;
    for (const DoctorCheck& check : checks) {
        m_interrupted = m_interrupted || m_context.interrupt.requested();
        if (m_interrupted)
            return nullptr;
        m_context.console.progress(check.title + " ...");
        Result result;
        Json found;
        const ExitCode code = runGuarded(m_context, [&] { // what goes wrong outside of the command itself
            result = examine(check, found);
            return ExitCode::done;
        });
        if (code != ExitCode::done) {
            result.title = check.title;
            result.verdict = Verdict::failed;
            result.code = code;
        }
        tell(result);
        m_json.push_back({{"check", result.title},
                          {"command", result.command.empty() ? Json(nullptr) : Json(result.command)},
                          {"verdict", verdictMember(result.verdict)},
                          {"note", result.note},
                          {"findings", result.findings},
                          {"found", found}});
        m_results.push_back(std::move(result));
        updateReport();
        last = std::move(found);
    }
    return last;
}

void DoctorExamination::tell(const Result& result) {
    m_context.console.line(std::string(verdictWord(result.verdict)) + "  " + result.title);
    if (!result.note.empty())
        m_context.console.line(std::string(17, ' ') + result.note);
    if (result.verdict == Verdict::failed)
        for (const std::string& finding : result.findings)
            m_checks.expect(false, result.title + ": " + finding);
}

std::size_t DoctorExamination::count(Verdict verdict) const {
    return static_cast<std::size_t>(std::count_if(
        m_results.begin(), m_results.end(), [verdict](const Result& result) { return result.verdict == verdict; }));
}

void DoctorExamination::updateReport() {
    m_context.document.set("doctor", json());
    PageTable table{"Each on its own, in the order in which they were run", {"check", "result", "what it means"}, {}};
    std::vector<PageSection> sections(1);
    for (const Result& result : m_results) {
        table.rows.push_back({result.title, std::string(verdictName(result.verdict)), result.note});
        PageSection section = result.details;
        section.title = result.title + ": " + std::string(verdictMember(result.verdict));
        section.paragraphs = result.findings;
        sections.push_back(std::move(section));
    }
    sections.front() = {"Checks", {}, {}, {std::move(table)}};
    m_context.document.setPageSections(std::move(sections));
}

bool DoctorExamination::judgedDevices() const {
    return std::any_of(m_results.begin(), m_results.end(), [](const Result& result) {
        return result.command != "info" && result.verdict != Verdict::nothingChecked;
    });
}

ExitCode DoctorExamination::exitCode() const {
    if (count(Verdict::failed) != 0) {
        // Without a plug-in that loads, runs and lists, nothing else matters.
        const bool unusable = std::any_of(m_results.begin(), m_results.end(), [](const Result& result) {
            return (result.command == "info" || result.command == "list") && result.code == ExitCode::backendFailed;
        });
        return unusable ? ExitCode::backendFailed : ExitCode::checkFailed;
    }
    if (judgedDevices())
        return ExitCode::done;
    if (m_interrupted)
        throw InterruptedTooEarly();
    throw Failure(ExitCode::nothingChecked, "There is no device that could be checked.");
}

} // namespace soundcheck
