# What every target of this project has in common.

function(dmn_compile_strictly target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-qual
        -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wundef
        $<$<BOOL:${DMN_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()

# dmn_add_library(NAME HEADERS header... SOURCES source...): adds one of the public libraries, with an alias NAME::NAME.
# Its headers are included as <NAME/header>. The file exports.map names the version of its symbols.
function(dmn_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "HEADERS;SOURCES")
    add_library(${name} ${ARG_SOURCES})
    add_library(${name}::${name} ALIAS ${name})
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARG_HEADERS})
    dmn_compile_strictly(${name})
    # Saves the loader from looking up the calls within the library, and has it look up all others when the library is
    # loaded: a child that shares this memory (vfork) must not have it write there.
    target_link_options(${name} PRIVATE LINKER:-Bsymbolic-functions LINKER:-z,now)
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON
        VERIFY_INTERFACE_HEADER_SETS ON)
    target_link_options(${name} PRIVATE
        $<$<STREQUAL:$<TARGET_PROPERTY:${name},TYPE>,SHARED_LIBRARY>:LINKER:--version-script=${CMAKE_CURRENT_SOURCE_DIR}/exports.map>)
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
endfunction()
