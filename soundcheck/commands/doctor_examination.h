/**
 * @file
 * The doctor's work: runs check after check, tells each result, and keeps the report up to date, so that it holds
 * what was found whatever ends the run. Main thread.
 */
#pragma once

#include "commands/checks.h"
#include "commands/doctor_plan.h"
#include "commands/run_context.h"
#include "report/page.h"

#include <string>
#include <vector>

namespace soundcheck {

class DoctorExamination {
public:
    explicit DoctorExamination(const RunContext& context) : m_context(context), m_checks(context) {}

    /** Runs the checks, but none after Ctrl-C. @return what the last command found; null when it found nothing */
    Json perform(const std::vector<DoctorCheck>& checks);

    std::size_t count(Verdict verdict) const;
    bool interrupted() const { return m_interrupted; }
    /** Everything so far, for the document. */
    Json json() const { return {{"checks", m_json}}; }
    /** Throws Failure when no device was judged: that is no success. */
    ExitCode exitCode() const;

private:
    struct Result {
        std::string title;
        std::string command; ///< empty: there was nothing to be run
        Verdict verdict = Verdict::nothingChecked;
        ExitCode code = ExitCode::nothingChecked;
        std::string note;
        std::vector<std::string> findings;
        PageSection details;
    };

    bool judgedDevices() const;
    /** @param found what the command found; stays null when it found nothing */
    Result examine(const DoctorCheck& check, Json& found);
    void tell(const Result& result);
    void updateReport();

    const RunContext& m_context;
    Checks m_checks;
    std::vector<Result> m_results;
    Json m_json = Json::array(); ///< the same for the document
    bool m_interrupted = false;
};

} // namespace soundcheck
