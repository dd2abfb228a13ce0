/**
 * @file
 * What the commands that take an echo reference have in common: its file, and whether the plug-in announces it rightly.
 */
#pragma once

#include "client/device.h"
#include "commands/checks.h"
#include "streams/capture_stream.h"

#include <string>

namespace soundcheck {

/** Creates the file that the reference goes to. */
EchoOutput makeEchoOutput(const std::string& file, const EchoFormat& echo);

/**
 * The association must promise what the playback device will really send. Throws Failure when no reference can come,
 * or none that can be written to a file.
 */
void checkEchoFormat(Checks& checks, const EchoFormat& echo, const DeviceFormat& playback);

} // namespace soundcheck
