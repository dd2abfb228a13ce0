# Makes a system-wide header-only library usable by the cross compiler. /usr/include itself would pull Linux
# headers in, so only the library's own folder is linked into the build tree.
#
#   header_only_library(<target> <folder below /usr/include> <header that must exist>)
function(header_only_library target folder header)
    find_path(${target}_INCLUDE_DIR ${header} NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(linked ${CMAKE_BINARY_DIR}/header-only/${target})
    file(MAKE_DIRECTORY ${linked})
    file(CREATE_LINK ${${target}_INCLUDE_DIR}/${folder} ${linked}/${folder} COPY_ON_ERROR SYMBOLIC)
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${linked})
endfunction()
