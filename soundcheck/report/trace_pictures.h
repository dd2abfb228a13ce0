/**
 * @file
 * From what was traced while devices ran to the pictures of a report. Pure functions.
 */
#pragma once

#include "report/log_record.h"
#include "report/page.h"
#include "report/trace_book.h"

#include <vector>

namespace soundcheck {

/**
 * Waveforms, timeline and histograms of what there is: a device that was only opened is in none of them.
 * @param log gives the time axis, and its lines for the timeline
 */
std::vector<PagePicture> picturesOf(const std::vector<const DeviceTrace*>& traces, const LogRecord& log);

} // namespace soundcheck
