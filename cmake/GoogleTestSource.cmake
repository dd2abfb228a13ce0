# GoogleTest is built from source with our own compiler: from the system's package (Debian: googletest), or from
# the folder that GOOGLETEST_DIR names.
set(GOOGLETEST_DIR /usr/src/googletest CACHE PATH "Folder of GoogleTest's sources")
if(NOT EXISTS ${GOOGLETEST_DIR}/CMakeLists.txt)
    message(FATAL_ERROR "GoogleTest's sources are not in ${GOOGLETEST_DIR}; set GOOGLETEST_DIR")
endif()
set(gtest_force_shared_crt OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${GOOGLETEST_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
