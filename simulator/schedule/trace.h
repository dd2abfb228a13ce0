// What happened, one line per step: time, thread, step. The last lines are kept for reports, a checksum of all
// lines tells whether two runs were the same byte for byte.
//
// Used by the running thread only (see Scheduler), so it needs no lock.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace simulator {

using Nanoseconds = std::int64_t;
inline constexpr Nanoseconds kMillisecond = 1'000'000;
inline constexpr Nanoseconds kSecond = 1'000 * kMillisecond;
inline constexpr Nanoseconds kNever = INT64_MAX;

class Trace {
public:
    void add(Nanoseconds time, std::string_view thread, std::string_view what, std::string_view subject = {});

    void start();
    // 0 keeps every line.
    void keep(std::size_t lines) { m_Kept = lines; }
    [[nodiscard]] std::string text() const;
    [[nodiscard]] std::uint64_t checksum() const { return m_Checksum; }
    [[nodiscard]] std::uint64_t lines() const { return m_Lines; }

private:
    std::deque<std::string> m_Text;
    std::size_t m_Kept = 400;
    std::uint64_t m_Lines = 0;
    static constexpr std::uint64_t kFnvStart = 14695981039346656037u; // FNV-1a

    std::uint64_t m_Checksum = kFnvStart;
};

} // namespace simulator
