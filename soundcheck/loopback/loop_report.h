/**
 * @file
 * What the analysis of a loopback found, in words and as a part of the document. Pure.
 */
#pragma once

#include "loopback/loop_result.h"
#include "report/document.h"

#include <cstdint>
#include <string>
#include <vector>

namespace soundcheck {

/** The result for a reader, line by line. */
std::vector<std::string> loopLines(const LoopResult& result, std::uint32_t sampleRate);

/** "at 2.310 s (frame 110880): 480 frames dropped". */
std::string disturbanceText(const Disturbance& disturbance, std::uint32_t sampleRate);

/** A sentence for each thing that is wrong. @param playedChannels that the probe was played on */
std::vector<std::string> loopFindings(const LoopResult& result, std::uint32_t playedChannels,
                                      std::uint32_t sampleRate);

/** Channels, disturbances and the latency of each mark. */
Json loopDetails(const LoopResult& result, std::uint32_t sampleRate);

} // namespace soundcheck
