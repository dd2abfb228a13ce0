# Installs what was built, copies the installed example away, and builds and tests it against the installation. Before
# that: the package can be asked for twice, says what it has, and the manual's links lead somewhere.
#   cmake -D BUILD=... -D CONFIG=... -D WORK=... -D GENERATOR=... [-D TOOLCHAIN=...] -P BuildOutside.cmake
cmake_minimum_required(VERSION 3.23)

function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
foreach(component plugin simulator)
    run(${CMAKE_COMMAND} --install ${BUILD} --config ${CONFIG} --prefix ${WORK}/sdk --component ${component})
endforeach()
set(package -D directsound_win64_DIR=${WORK}/sdk/lib/cmake/directsound_win64)
set(documents ${WORK}/sdk/share/doc/directsound_win64)

file(READ ${documents}/simulator/README.md manual)
string(REPLACE "](" "<" manual "${manual}") # a list cannot hold single brackets
string(REGEX MATCHALL "<[^):<> \n]*[./][^):<> \n]*\\)" links "${manual}")
if(NOT links)
    message(FATAL_ERROR "the manual links to nothing")
endif()
foreach(link IN LISTS links)
    string(REGEX REPLACE "^<([^#]*).*\\)$" "\\1" file "${link}")
    string(REGEX REPLACE "\\)$" "" file "${file}")
    if(NOT EXISTS ${documents}/simulator/${file})
        message(FATAL_ERROR "the installed manual links to ${file}, which is not installed")
    endif()
endforeach()

# A project that only asks for the package, from two of its parts.
file(WRITE ${WORK}/asking/CMakeLists.txt [[
cmake_minimum_required(VERSION 3.23)
project(asking LANGUAGES NONE)
find_package(directsound_win64 REQUIRED)
find_package(directsound_win64 1.0 REQUIRED COMPONENTS plugin simulator)
find_package(directsound_win64 QUIET COMPONENTS nonsense)
if(directsound_win64_FOUND)
    message(FATAL_ERROR "the package has a component that it does not have")
endif()
]])
run(${CMAKE_COMMAND} -S ${WORK}/asking -B ${WORK}/asking/build -G ${GENERATOR} ${package})
file(RENAME ${WORK}/sdk/bin/directsound_win64.dll ${WORK}/sdk/bin/elsewhere.dll)
execute_process(COMMAND ${CMAKE_COMMAND} -S ${WORK}/asking -B ${WORK}/asking/build -G ${GENERATOR} ${package}
                RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
if(result EQUAL 0)
    message(FATAL_ERROR "the package is found without its DLL")
endif()
file(RENAME ${WORK}/sdk/bin/elsewhere.dll ${WORK}/sdk/bin/directsound_win64.dll)

file(COPY ${documents}/examples/voice_client/ DESTINATION ${WORK}/source)
set(toolchain)
if(TOOLCHAIN)
    set(toolchain -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
run(${CMAKE_COMMAND} -S ${WORK}/source -B ${WORK}/build -G ${GENERATOR} ${toolchain} ${package}
    -D CMAKE_BUILD_TYPE=${CONFIG})
run(${CMAKE_COMMAND} --build ${WORK}/build --config ${CONFIG})
run(${CMAKE_CTEST_COMMAND} --test-dir ${WORK}/build --build-config ${CONFIG} --output-on-failure
    --no-tests=error)
