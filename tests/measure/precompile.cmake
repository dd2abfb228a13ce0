# Included by the project that ShadowTree configures: the system's headers are read once, not at every change of a
# source. Not for the project itself, because GCC 12 then takes them for ours and warns of them.
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL target_precompile_headers plugin_core PRIVATE
    <windows.h> <mmsystem.h> <mmreg.h> <objbase.h> <dsound.h>
    <algorithm> <array> <list> <map> <memory> <mutex> <optional> <sstream> <string> <utility> <vector>)
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL target_precompile_headers directsound_win64 REUSE_FROM plugin_core)
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL target_precompile_headers unit_tests PRIVATE
    <windows.h> <algorithm> <memory> <optional> <string> <vector> <gtest/gtest.h>)
