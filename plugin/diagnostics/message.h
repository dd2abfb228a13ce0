#pragma once

#include <locale>
#include <sstream>
#include <string>

namespace directsound {

/// Inserts the pieces one after the other into a fresh stream. Numbers are plain decimal whatever the client's locale.
template <typename... Pieces>
[[nodiscard]] std::string message(const Pieces&... pieces) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.exceptions(std::ios_base::badbit); // or a stream that runs out of memory passes for a shorter text
    (stream << ... << pieces);
    return stream.str();
}

} // namespace directsound
