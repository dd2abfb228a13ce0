#include "commands/checks.h"

namespace soundcheck {

void Checks::expect(bool condition, std::string_view sentence, ExitCode otherwise) {
    if (!condition)
        fail(sentence, otherwise);
}

void Checks::fail(std::string_view sentence, ExitCode code) {
    if (!failed())
        m_exitCode = code;
    tellFinding(m_context, sentence);
}

} // namespace soundcheck
