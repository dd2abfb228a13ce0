#pragma once

#include "devices/dsp_lock.h"
#include "devices/played_blocks.h"
#include "orvosoundbackend.h"

#include <windows.h>

namespace directsound {

/// What a device may use of the backend that owns it. Outlives every device.
struct DeviceHost {
    const BackendCallbacks& m_Callbacks;
    DspLock& dspLock;
    PlayedBlockSource& playedBlocks;
    HWND window; ///< The owner window for DirectSound's cooperative level.
};

} // namespace directsound
