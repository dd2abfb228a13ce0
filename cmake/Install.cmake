# What `cmake --install` puts where. Component "plugin": the DLL, soundcheck, the header. Component "simulator": the
# simulator with its manual and example, and a package, so that an outside project says
# find_package(directsound_win64).
include(CMakePackageConfigHelpers)

install(FILES $<TARGET_FILE:directsound_win64> DESTINATION bin COMPONENT plugin)
install(TARGETS soundcheck RUNTIME DESTINATION bin COMPONENT plugin)
install(FILES sdk/include/orvosoundbackend.h DESTINATION include COMPONENT plugin)

if(BUILD_TESTING)
    install(TARGETS simulator EXPORT directsound_win64 ARCHIVE DESTINATION lib COMPONENT simulator)
    install(DIRECTORY simulator DESTINATION include COMPONENT simulator
            FILES_MATCHING PATTERN "*.h" PATTERN selftest EXCLUDE)
    # The manual and the example that it links to, beside each other as here.
    set(documents share/doc/directsound_win64)
    install(FILES simulator/README.md DESTINATION ${documents}/simulator COMPONENT simulator)
    install(DIRECTORY examples/voice_client DESTINATION ${documents}/examples COMPONENT simulator)

    set(package lib/cmake/directsound_win64)
    install(EXPORT directsound_win64 NAMESPACE directsound_win64:: FILE directsound_win64Targets.cmake
            DESTINATION ${package} COMPONENT simulator)
    set(plugin_dll bin/directsound_win64.dll)
    set(include_dir include)
    configure_package_config_file(cmake/directsound_win64Config.cmake.in directsound_win64Config.cmake
                                  INSTALL_DESTINATION ${package} PATH_VARS plugin_dll include_dir)
    write_basic_package_version_file(directsound_win64ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/directsound_win64Config.cmake
                  ${CMAKE_CURRENT_BINARY_DIR}/directsound_win64ConfigVersion.cmake
            DESTINATION ${package} COMPONENT simulator)
endif()
