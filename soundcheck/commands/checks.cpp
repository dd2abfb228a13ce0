#include "commands/checks.h"

namespace soundcheck {

void Checks::expect(bool condition, std::string_view sentence) {
    if (!condition)
        fail(sentence);
}

void Checks::fail(std::string_view sentence) {
    m_failed = true;
    tellFinding(m_context, sentence);
}

} // namespace soundcheck
