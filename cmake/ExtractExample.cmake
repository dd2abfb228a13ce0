# Writes the example program that stands in a header's comment to a file:
#   cmake -DHEADER=... -DOUTPUT=... -P ExtractExample.cmake
file(READ ${HEADER} lines)
string(FIND "${lines}" "@code{.c}" start)
string(FIND "${lines}" " * @endcode" end)
if(start EQUAL -1 OR end LESS start)
    message(FATAL_ERROR "${HEADER} holds no example")
endif()
math(EXPR start "${start} + 9")
math(EXPR length "${end} - ${start}")
string(SUBSTRING "${lines}" ${start} ${length} example)
string(REGEX REPLACE "\n \\* ?" "\n" example "${example}")
file(WRITE ${OUTPUT} "${example}")
