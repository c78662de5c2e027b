# Fails unless README is short, and shows examples/minimal/main.cpp word for word, which is short too.
# Usage: cmake -D SOURCE_DIR=... -P ReadmeShowsMinimal.cmake

# expect_lines(FILE TEXT MAXIMUM)
function(expect_lines file text maximum)
    string(REGEX MATCHALL "\n" lines "${text}")
    list(LENGTH lines count)
    if(count GREATER maximum)
        message(FATAL_ERROR "${file} has ${count} lines, which is more than ${maximum}.")
    endif()
endfunction()

file(READ ${SOURCE_DIR}/README.md readme)
file(READ ${SOURCE_DIR}/examples/minimal/main.cpp program)

string(FIND "${readme}" "```cpp\n${program}```\n" position)
if(position EQUAL -1)
    message(FATAL_ERROR "README.md does not show examples/minimal/main.cpp as it is.")
endif()

expect_lines(README.md "${readme}" 150)
expect_lines(examples/minimal/main.cpp "${program}" 15)
