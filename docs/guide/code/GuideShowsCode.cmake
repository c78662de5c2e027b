# Fails unless each block of C++ in the guide's pages stands word for word in a file that is compiled.
# Usage: cmake -D GUIDE=... -P GuideShowsCode.cmake

file(GLOB pages ${GUIDE}/*.md)
file(GLOB sources ${GUIDE}/code/*.h ${GUIDE}/code/*.cpp)

set(code "")
foreach(source IN LISTS sources)
    file(READ ${source} text)
    string(APPEND code "\n${text}")
endforeach()

set(count 0)
foreach(page IN LISTS pages)
    file(READ ${page} rest)
    string(FIND "${rest}" "```cpp\n" start)
    while(NOT start EQUAL -1)
        math(EXPR start "${start} + 7")
        string(SUBSTRING "${rest}" ${start} -1 rest)
        string(FIND "${rest}" "```" end)
        string(SUBSTRING "${rest}" 0 ${end} block)
        math(EXPR count "${count} + 1")

        string(FIND "${code}" "\n${block}" position)
        if(position EQUAL -1)
            message(SEND_ERROR "${page} shows code that is in no file of ${GUIDE}/code:\n${block}")
        endif()

        string(SUBSTRING "${rest}" ${end} -1 rest)
        string(FIND "${rest}" "```cpp\n" start)
    endwhile()
endforeach()

if(count EQUAL 0)
    message(FATAL_ERROR "The guide shows no code.")
endif()
message("${count} blocks of code are compiled.")
