#include "commands/run_context.h"

#include "report/document_page.h"

#include <cstdlib>
#include <utility>

namespace soundcheck {

void tellFinding(const RunContext& context, std::string_view sentence) {
    context.document.addFinding(sentence);
    context.console.errorLine("soundcheck: " + std::string(sentence));
}

ExitCode deliverDocument(const RunContext& context, ExitCode code) {
    try {
        if (context.report != nullptr)
            context.report->write(htmlPage(pageOf(context.document, code)));
    } catch (const std::exception& error) { // the disk is full, or memory ran out
        tellFinding(context, error.what());
        context.document.setEnded("failed");
        if (code == ExitCode::done || code == ExitCode::nothingChecked)
            code = ExitCode::fileFailed;
    }
    if (context.options.json)
        context.console.document(context.document.text(code));
    return code;
}

CallWatch watchCall(const RunContext& context, std::string what) {
    return {std::move(what), [context](std::string_view sentence) {
                const RunContext* whole = &context;
                while (whole->outer != nullptr)
                    whole = whole->outer;
                tellFinding(*whole, sentence);
                whole->document.setEnded("hung");
                deliverDocument(*whole, ExitCode::backendFailed);
                std::_Exit(toInt(ExitCode::backendFailed)); // nothing can be closed or finalized any more
            }};
}

} // namespace soundcheck
