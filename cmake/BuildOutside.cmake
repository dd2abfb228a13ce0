# Installs what was built, copies a project away from this tree, and builds and tests it against the installation:
#   cmake -D BUILD=... -D CONFIG=... -D PROJECT=... -D WORK=... -D GENERATOR=... [-D TOOLCHAIN=...] -P BuildOutside.cmake
function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
file(COPY ${PROJECT}/ DESTINATION ${WORK}/source)
foreach(component plugin simulator)
    run(${CMAKE_COMMAND} --install ${BUILD} --config ${CONFIG} --prefix ${WORK}/sdk --component ${component})
endforeach()
set(toolchain)
if(TOOLCHAIN)
    set(toolchain -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
run(${CMAKE_COMMAND} -S ${WORK}/source -B ${WORK}/build -G ${GENERATOR} ${toolchain}
    -D CMAKE_BUILD_TYPE=${CONFIG} -D directsound_win64_DIR=${WORK}/sdk/lib/cmake/directsound_win64)
run(${CMAKE_COMMAND} --build ${WORK}/build --config ${CONFIG})
run(${CMAKE_CTEST_COMMAND} --test-dir ${WORK}/build --build-config ${CONFIG} --output-on-failure
    --no-tests=error)
