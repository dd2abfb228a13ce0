/**
 * @file
 * What the system tells about itself and about a file: for `info`, and for sentences about system errors.
 * Functions without state, callable from any thread.
 */
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace soundcheck {

/** "10.0.19045": what the kernel says, not what a compatibility layer pretends. */
std::string windowsVersion();

/** Wine's version, when this is Wine. */
std::optional<std::string> wineVersion();

/** "2026-01-31T12:34:56Z": now, in UTC. */
std::string utcTimeText();

/** "12:34:56.789": now, as the user's clock says. */
std::string localTimeText();

/** The file version of a module's version resource, "1.0.0.0"; nothing when it has none. */
std::optional<std::string> fileVersion(const std::filesystem::path& module);

/** The folder of the running program. */
std::filesystem::path programFolder();

/** The system's text for an error of GetLastError, with its number: "File not found (2)". */
std::string systemErrorText(unsigned long error);

} // namespace soundcheck
