#include "commands/run_context.h"

#include <cstdlib>
#include <utility>

namespace soundcheck {

void tellFinding(const RunContext& context, std::string_view sentence) {
    context.document.addFinding(sentence);
    context.console.errorLine("soundcheck: " + std::string(sentence));
}

void deliverDocument(const RunContext& context, ExitCode code) {
    if (context.options.json)
        context.console.document(context.document.text(code));
}

CallWatch watchCall(const RunContext& context, std::string what) {
    return {std::move(what), [context](std::string_view sentence) {
                tellFinding(context, sentence);
                context.document.setEnded("hung");
                deliverDocument(context, ExitCode::backendFailed);
                std::_Exit(toInt(ExitCode::backendFailed)); // nothing can be closed or finalized any more
            }};
}

} // namespace soundcheck
