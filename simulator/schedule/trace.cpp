#include "trace.h"

#include <charconv>

namespace simulator {
namespace {

// Milliseconds with three decimals, without the locale and the cost of a stream.
void appendTime(std::string& line, Nanoseconds time) {
    char digits[24];
    const auto microseconds = time / 1000;
    auto* end = std::to_chars(digits, digits + sizeof(digits), microseconds / 1000).ptr;
    line.append(digits, end);
    line += '.';
    const auto rest = static_cast<int>(microseconds % 1000);
    line += static_cast<char>('0' + rest / 100);
    line += static_cast<char>('0' + rest / 10 % 10);
    line += static_cast<char>('0' + rest % 10);
}

} // namespace

void Trace::add(Nanoseconds time, std::string_view thread, std::string_view what, std::string_view subject) {
    std::string line;
    line.reserve(80);
    appendTime(line, time);
    line += "  ";
    line += thread;
    line += "  ";
    line += what;
    if (!subject.empty()) {
        line += ' ';
        line += subject;
    }
    for (const char c : line)
        m_Checksum = (m_Checksum ^ static_cast<unsigned char>(c)) * 1099511628211u;
    ++m_Lines;
    m_Text.push_back(std::move(line));
    if (m_Kept != 0 && m_Text.size() > m_Kept)
        m_Text.pop_front();
}

void Trace::start() {
    m_Text.clear();
    m_Lines = 0;
    m_Checksum = kFnvStart;
}

std::string Trace::text() const {
    std::string all;
    for (const std::string& line : m_Text) {
        all += line;
        all += '\n';
    }
    return all;
}

} // namespace simulator
