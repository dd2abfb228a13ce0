/**
 * @file
 * Options that several commands have, so that they read and fail alike in all of them. Main thread.
 */
#pragma once

#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace soundcheck {

inline constexpr const char* kDeviceHelp =
    "The device: default, its number in `soundcheck list`, its identifier, or a "
    "part of its name; without it the default device";

inline constexpr const char* kReopenHelp =
    "Close a device that stands still, and open it again (three times at most)";

inline constexpr double kLeastSeconds = 0.02; ///< a block
inline constexpr double kMostSeconds = 1e6;   ///< more than a week

CLI::Option* addDevice(CLI::App& app, const std::string& name, std::string& device,
                       const std::string& help = kDeviceHelp);

/** @param kind how the help calls the value: "FILE.wav" */
CLI::Option* addPath(CLI::App& app, const std::string& name, const std::string& kind, std::string& path,
                     const std::string& help);

CLI::Option* addSeconds(CLI::App& app, double& seconds, const std::string& help, double least = kLeastSeconds,
                        double most = kMostSeconds);

} // namespace soundcheck
