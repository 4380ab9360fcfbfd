# brmx_module(NAME [DEPENDENCY...]): the sources of the current folder as the static library brmx_NAME. Sources below
# a folder windows/ or posix/ belong to that target alone. A folder without any is a mistake and fails.
function(brmx_module name)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    if(CMAKE_SYSTEM_NAME STREQUAL "Windows")
        list(FILTER sources EXCLUDE REGEX "/posix/")
    else()
        list(FILTER sources EXCLUDE REGEX "/windows/")
    endif()
    list(TRANSFORM ARGN PREPEND brmx_)
    add_library(brmx_${name} STATIC ${sources})
    target_link_libraries(brmx_${name} PUBLIC brmx_options ${ARGN})
endfunction()
