/**
 * @file
 * The pictures of a loopback for the page: the round trip, and the excerpts. Pure.
 */
#pragma once

#include "loopback/loop_result.h"
#include "report/page.h"

#include <cstdint>
#include <vector>

namespace soundcheck {

/** Those without anything to be seen are left out. @param sampleRate of the recording */
std::vector<PagePicture> loopPictures(const LoopResult& result, std::uint32_t sampleRate);

} // namespace soundcheck
