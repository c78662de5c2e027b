# Runs a check that needs a tool. If the tool is missing, the check is skipped, or fails with DMN_TEST_REQUIRE_ALL=1.
# Usage: cmake -D TOOL=... -P RunTool.cmake ARGUMENT...

find_program(path ${TOOL} NO_CACHE)
if(NOT path AND "$ENV{DMN_TEST_REQUIRE_ALL}" STREQUAL "1")
    message(FATAL_ERROR "The program ${TOOL} is missing.")
elseif(NOT path)
    message("SKIPPED: the program ${TOOL} is missing.")
    return()
endif()

# The arguments begin after the name of this script.
set(arguments "")
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(i RANGE 5 ${last})
    list(APPEND arguments "${CMAKE_ARGV${i}}")
endforeach()

execute_process(COMMAND ${path} ${arguments} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${TOOL} ended with status ${status}.")
endif()
