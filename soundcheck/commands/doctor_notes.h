/**
 * @file
 * What the result of a check means and what to do, in plain words. Pure functions.
 */
#pragma once

#include "report/document.h"
#include "report/page.h"

#include <string>
#include <string_view>

namespace soundcheck {

/**
 * @param command whose check it was
 * @param section what the command found; may be null
 */
std::string doctorNote(std::string_view command, Verdict verdict, const Json& section);

/** A capture device that delivers, as loud as this at most, is silent: below what any open microphone hears. */
inline constexpr double kSilentPeakDecibels = -70;

} // namespace soundcheck
