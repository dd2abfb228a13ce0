# One CTest entry per GoogleTest suite: fine enough to see what failed, coarse enough to start few processes.
# The names are read from the sources, so that no program has to run while building.
#
#   add_suites(<target> PREFIX <prefix> [TIMEOUT <seconds>] [COMMAND <command before the program>...])
function(add_suites target)
    cmake_parse_arguments(arg "" "PREFIX;TIMEOUT" "COMMAND" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    if(NOT MSVC)
        target_compile_options(${target} PRIVATE -O1) # builds faster; the plug-in under test keeps its own level
    endif()

    get_target_property(sources ${target} SOURCES)
    set(suites)
    foreach(source IN LISTS sources)
        file(READ ${source} text)
        # A long declaration is written over several lines.
        string(REGEX MATCHALL "\n(TEST(_F|_P)?|SCENARIO)\\([ \n]*[A-Za-z0-9_]+" declarations "\n${text}")
        foreach(declaration IN LISTS declarations)
            string(REGEX REPLACE ".*\\([ \n]*" "" suite "${declaration}")
            list(APPEND suites ${suite})
        endforeach()
        # Discovered anew when a suite is added.
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    endforeach()
    list(REMOVE_DUPLICATES suites)
    foreach(suite IN LISTS suites)
        add_test(NAME ${arg_PREFIX}.${suite}
                 COMMAND ${arg_COMMAND} ${target} --gtest_filter=${suite}.*:*/${suite}.* --gtest_brief=1)
        set_tests_properties(${arg_PREFIX}.${suite} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${arg_PREFIX}
                             FAIL_REGULAR_EXPRESSION "==] 0 tests ") # a filter that finds nothing has tested nothing
    endforeach()
endfunction()
