/**
 * @file
 * Where a result was found: system and time, and the plug-in once it is loaded. Stands in every report.
 */
#pragma once

#include "client/library.h"

#include <nlohmann/json.hpp>

namespace soundcheck {

/** `{"time": "2026-01-31T12:00:00Z", "windows": ..., "wine": ... or null, "plugin": null}` */
nlohmann::ordered_json environmentOfSystem();

/** `{"name": ..., "version": ... or null, "path": ...}`; asks the plug-in for its name. */
nlohmann::ordered_json environmentOfPlugin(const Library& library);

} // namespace soundcheck
