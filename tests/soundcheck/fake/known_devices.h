/**
 * @file
 * The devices that exist in the fake plug-in.
 */
#pragma once

#include "orvosoundbackend.h"

#include <array>

namespace fake {

struct Known {
    DeviceDirection direction;
    const char* id;
    const char* name;
};

/** Comes when `latecomer` is asked for. */
inline constexpr Known kLatecomer = {ORVO_PLAYBACK, "{11111111-0000-0000-0000-000000000003}", "Fake Latecomer"};

inline constexpr std::array<Known, 4> kKnown = {
    {{ORVO_PLAYBACK, "{11111111-0000-0000-0000-000000000001}", "Fake Speaker"},
     {ORVO_PLAYBACK, "{11111111-0000-0000-0000-000000000002}", "Fake Headphones"},
     {ORVO_CAPTURE, "{22222222-0000-0000-0000-000000000001}", "Fake Microphone"},
     {ORVO_CAPTURE, "{22222222-0000-0000-0000-000000000002}", "Fake Headset"}}};

} // namespace fake
