# Fails unless the DLL exports exactly the names of its .def file and imports from system DLLs only:
#   cmake -DOBJDUMP=... -DDLL=... -DDEF=... -P CheckBinary.cmake
execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)

file(STRINGS ${DEF} wanted REGEX "^    [a-z]")
list(TRANSFORM wanted STRIP)
list(SORT wanted)
list(LENGTH wanted count)
if(NOT count EQUAL 15)
    message(FATAL_ERROR "${DEF} names ${count} exports instead of 15")
endif()

string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table" "" table "${dump}")
string(REGEX REPLACE "\r?\n\r?\n.*" "" table "${table}")
string(REGEX MATCHALL "\\[ *[0-9]+\\] [^\r\n]+" exported "${table}")
list(TRANSFORM exported REPLACE "\\[ *[0-9]+\\] " "")
list(SORT exported)
if(NOT exported STREQUAL wanted)
    message(FATAL_ERROR "exported:\n  ${exported}\nwanted:\n  ${wanted}")
endif()

string(REGEX MATCHALL "DLL Name: [^\r\n]+" imported "${dump}")
list(TRANSFORM imported REPLACE "DLL Name: " "")
list(TRANSFORM imported TOLOWER)
list(REMOVE_ITEM imported dsound.dll kernel32.dll msvcrt.dll ole32.dll user32.dll winmm.dll)
if(imported)
    message(FATAL_ERROR "imports from DLLs that are not the system's: ${imported}")
endif()
message("15 exports, system DLLs only")
