/**
 * @file
 * Options that several commands have, so that they read and fail alike in all of them. Main thread.
 */
#pragma once

#include <cstdint>
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
inline constexpr double kMostCounted = 1e12;

CLI::Option* addDevice(CLI::App& app, const std::string& name, std::string& device,
                       const std::string& help = kDeviceHelp);

/** @param kind how the help calls the value: "FILE.wav" */
CLI::Option* addPath(CLI::App& app, const std::string& name, const std::string& kind, std::string& path,
                     const std::string& help);

CLI::Option* addSeconds(CLI::App& app, double& seconds, const std::string& help, double least = kLeastSeconds,
                        double most = kMostSeconds);

CLI::Option* addMilliseconds(CLI::App& app, const std::string& name, double& milliseconds, const std::string& help);

/** A whole number. */
CLI::Option* addCount(CLI::App& app, const std::string& name, std::uint64_t& count, const std::string& help,
                      std::uint64_t least);

} // namespace soundcheck
