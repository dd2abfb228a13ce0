# Options of all our own code; third-party code does not link to this target.
add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_20 c_std_99)
target_compile_definitions(project_options INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
    WINVER=0x0600 _WIN32_WINNT=0x0600)   # 0x0600: the oldest system on which everything that we import exists

if(MSVC)
    # The bounded functions it would rather see do not exist elsewhere.
    target_compile_definitions(project_options INTERFACE _CRT_SECURE_NO_WARNINGS)
    target_compile_options(project_options INTERFACE /W4 /WX /permissive- /utf-8 /Zc:__cplusplus /EHsc)
else()
    target_compile_options(project_options INTERFACE
        -Wall -Wextra -Werror -pedantic -Wconversion -Wsign-conversion -Wshadow -Wundef -Wcast-align -Wcast-qual
        -Wformat=2 -Wimplicit-fallthrough -Wdouble-promotion -Wnull-dereference
        $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wduplicated-cond
            -Wduplicated-branches -Wlogical-op -Wextra-semi -Wredundant-decls>)
endif()

option(ORVO_UNDEFINED_BEHAVIOUR_TRAPS "Trap on undefined behaviour" OFF)
if(ORVO_UNDEFINED_BEHAVIOUR_TRAPS)
    target_compile_options(project_options INTERFACE -fsanitize=undefined -fsanitize-undefined-trap-on-error)
endif()

option(ORVO_COVERAGE "Count executed lines and branches of the plug-in" OFF)
add_library(coverage_options INTERFACE)
if(ORVO_COVERAGE)
    target_compile_options(coverage_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(coverage_options INTERFACE --coverage)
endif()
