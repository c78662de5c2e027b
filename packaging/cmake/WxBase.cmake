# Finds wxWidgets' base library and offers it as the target fdn::wxbase. The installed package includes this file as
# well, so that wxWidgets is found where the package is used, and not where it was built.

if(NOT TARGET fdn::wxbase)
    find_package(wxWidgets 3.0 REQUIRED COMPONENTS base)

    add_library(fdn::wxbase INTERFACE IMPORTED GLOBAL)
    target_include_directories(fdn::wxbase SYSTEM INTERFACE ${wxWidgets_INCLUDE_DIRS})
    target_compile_definitions(fdn::wxbase INTERFACE ${wxWidgets_DEFINITIONS})
    target_compile_options(fdn::wxbase INTERFACE ${wxWidgets_CXX_FLAGS})
    target_link_directories(fdn::wxbase INTERFACE ${wxWidgets_LIBRARY_DIRS})
    target_link_libraries(fdn::wxbase INTERFACE ${wxWidgets_LIBRARIES})
endif()
