# Compiler settings that every target shares.

add_library(brmx_options INTERFACE)
target_include_directories(brmx_options INTERFACE ${PROJECT_SOURCE_DIR})
# No contraction: scores are sums of single floats and have to come out the same on every machine.
target_compile_options(brmx_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Werror -ffp-contract=off)
if(CMAKE_SYSTEM_NAME STREQUAL "Windows")
    target_compile_definitions(brmx_options INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601 UNICODE)
    # A library that is copied next to any program may need nothing but the system.
    target_link_options(brmx_options INTERFACE -static -static-libgcc -static-libstdc++)
else()
    find_package(Threads REQUIRED)
    target_link_libraries(brmx_options INTERFACE Threads::Threads)
endif()
if(BRMX_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_definitions(brmx_options INTERFACE BRMX_CHECKED) # see platform/expects.h
endif()
if(BRMX_SANITIZE)
    target_compile_options(brmx_options INTERFACE
        -fsanitize=${BRMX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(brmx_options INTERFACE -fsanitize=${BRMX_SANITIZE})
endif()

find_program(BRMX_CCACHE ccache)
if(BRMX_CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER ${BRMX_CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${BRMX_CCACHE})
endif()
