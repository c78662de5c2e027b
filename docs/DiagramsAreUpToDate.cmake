# Fails unless each docs/diagrams/NAME.svg was made from NAME.dot as it is now.
# Usage: cmake -D DIAGRAMS=... -P DiagramsAreUpToDate.cmake

file(GLOB sources ${DIAGRAMS}/*.dot)
if(NOT sources)
    message(FATAL_ERROR "There are no diagrams in ${DIAGRAMS}.")
endif()
foreach(source IN LISTS sources)
    file(SHA256 ${source} hash)
    cmake_path(REPLACE_EXTENSION source LAST_ONLY .svg OUTPUT_VARIABLE target)
    file(STRINGS ${target} note REGEX "^<!-- source: ${hash} -->$")
    if(NOT note)
        message(SEND_ERROR "${target} was not made from ${source} as it is now; build the target \"diagrams\".")
    endif()
endforeach()
