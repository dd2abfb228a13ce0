// One fault: which call of a session fails, from when on, and with what answer. Its words replay it.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace sweep {

// What the failing call answers: a result, or what it answers by itself when it fails together with an error number,
// or only the former.
struct Code {
    std::optional<long long> result{};
    std::optional<DWORD> error{};
};

struct Fault {
    std::string session;
    std::string call;    // as the simulator names it
    std::string subject; // as the simulator names it; "" where the call has none
    unsigned n = 1;      // counted from 1, among the session's calls of this name and subject
    bool lasting = false;
    Code code{};
};

// "playback/Secondary.Lock@Speaker/3/once/0x88780096", ".../lasting/error-8", ".../once/null".
std::string words(const Fault& fault);
// Empty when it is no such text.
std::optional<Fault> parseFault(std::string_view words);

} // namespace sweep
