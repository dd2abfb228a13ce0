#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace directsound {

/// Collects what is written to a C++ stream while the object lives.
class CapturedStream {
public:
    explicit CapturedStream(std::ostream& stream) : m_Stream(stream), m_Previous(stream.rdbuf(m_Buffer.rdbuf())) {}
    ~CapturedStream() { m_Stream.rdbuf(m_Previous); }
    CapturedStream(const CapturedStream&) = delete;
    CapturedStream& operator=(const CapturedStream&) = delete;

    [[nodiscard]] std::string text() const { return m_Buffer.str(); }

private:
    std::ostream& m_Stream;
    std::ostringstream m_Buffer;
    std::streambuf* m_Previous;
};

} // namespace directsound
