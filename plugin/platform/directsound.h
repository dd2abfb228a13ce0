#pragma once

// DirectSound's header leans on the multimedia one, which windows.h leaves out when it is kept lean.
// clang-format off
#include <windows.h>
#include <mmsystem.h>
#include <dsound.h>
// clang-format on
