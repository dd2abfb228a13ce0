#include "commands/checks.h"

namespace soundcheck {

void Checks::expect(bool condition, std::string_view sentence) {
    if (condition)
        return;
    m_failed = true;
    tellFinding(m_context, sentence);
}

} // namespace soundcheck
