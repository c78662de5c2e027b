# Renders each docs/diagrams/NAME.dot to NAME.svg beside it, and notes in NAME.svg what it was made from.
# Usage: cmake -D DIAGRAMS=... -D DOT=... -P RenderDiagrams.cmake

file(GLOB sources ${DIAGRAMS}/*.dot)
foreach(source IN LISTS sources)
    execute_process(COMMAND ${DOT} -Tsvg ${source} OUTPUT_VARIABLE svg COMMAND_ERROR_IS_FATAL ANY)
    file(SHA256 ${source} hash)
    cmake_path(REPLACE_EXTENSION source LAST_ONLY .svg OUTPUT_VARIABLE target)
    file(WRITE ${target} "${svg}<!-- source: ${hash} -->\n")
endforeach()
