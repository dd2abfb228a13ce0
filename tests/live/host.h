// Wine can start programs of the machine it runs on: that is how a test pulls a sound card out.
#pragma once

#include <string>

namespace live {

struct HostResult {
    int exitCode = -1; ///< -1: the command could not be started, or did not end in time
    std::string output;
};

/// Runs a shell command on the host and waits for its end. The command holds no double quotes.
HostResult runOnHost(const std::string& command);

/// Removes the null sink of that name from the sound server, as if its card were pulled out.
void pullOut(const std::string& sink);

} // namespace live
