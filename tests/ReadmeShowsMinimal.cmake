# Fails unless README holds examples/minimal/main.cpp word for word, in at most 30 lines.
# Usage: cmake -D SOURCE_DIR=... -P ReadmeShowsMinimal.cmake

file(READ ${SOURCE_DIR}/README.md readme)
file(READ ${SOURCE_DIR}/examples/minimal/main.cpp program)

string(FIND "${readme}" "```cpp\n${program}```\n" position)
if(position EQUAL -1)
    message(FATAL_ERROR "README.md does not show examples/minimal/main.cpp as it is.")
endif()

string(REGEX MATCHALL "\n" lines "${program}")
list(LENGTH lines count)
if(count GREATER 30)
    message(FATAL_ERROR "examples/minimal/main.cpp has ${count} lines.")
endif()
