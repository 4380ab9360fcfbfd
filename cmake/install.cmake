# What `cmake --install` puts where. Three components, as three packages carry them: `runtime` is the library,
# `development` all that a client is built with, `tools` the program.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/brmx)
if(CMAKE_SYSTEM_NAME STREQUAL "Windows")
    set(documents_dir .) # whoever unpacks the archive wants to see them
else()
    set(documents_dir ${CMAKE_INSTALL_DOCDIR})
endif()

install(TARGETS brmx EXPORT brmxTargets
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/brmx.h ${PROJECT_SOURCE_DIR}/include/brmx.hpp TYPE INCLUDE COMPONENT development)
if(CMAKE_SYSTEM_NAME STREQUAL "Windows")
    install(FILES ${PROJECT_BINARY_DIR}/brmx.def TYPE LIB COMPONENT development)
endif()

install(EXPORT brmxTargets NAMESPACE brmx:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/brmxConfig.cmake.in ${PROJECT_BINARY_DIR}/brmxConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/brmxConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/brmxConfig.cmake ${PROJECT_BINARY_DIR}/brmxConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE prefix_from_pc)
configure_file(${CMAKE_CURRENT_LIST_DIR}/brmx.pc.in ${PROJECT_BINARY_DIR}/brmx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/brmx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
# As in the source tree, so that the links between them hold.
file(GLOB documents CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/*.md)
install(FILES ${documents} DESTINATION ${documents_dir} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${documents_dir} COMPONENT development
    PATTERN reference EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${documents_dir} COMPONENT development
    REGEX "examples/CMakeLists.txt$" EXCLUDE # lets them meet the library's own build
    PATTERN brmx_test.py EXCLUDE # reads the sources
    PATTERN __pycache__ EXCLUDE)

install(TARGETS brmx-scan RUNTIME COMPONENT tools)
# A tree that is installed anywhere works there; where the system looks for libraries a path of its own is not wanted.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY
    ${CMAKE_INSTALL_FULL_BINDIR} OUTPUT_VARIABLE lib_from_bin)
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set_target_properties(brmx-scan PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}")
endif()

set(tool_dir ${PROJECT_SOURCE_DIR}/tools/brmx_scan)
string(TIMESTAMP date "%B %d, %Y" UTC)
string(REPLACE " 0" " " date ${date})
configure_file(${tool_dir}/brmx-scan.1.in ${PROJECT_BINARY_DIR}/brmx-scan.1 @ONLY)
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Windows")
    install(FILES ${PROJECT_BINARY_DIR}/brmx-scan.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    install(FILES ${tool_dir}/completion.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME brmx-scan COMPONENT tools)
    install(FILES ${tool_dir}/completion.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
        RENAME brmx-scan.fish COMPONENT tools)
    # The one place where zsh looks depends on who has installed it.
    set(zsh_dir zsh/site-functions)
    if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        set(zsh_dir zsh/vendor-completions)
    endif()
    install(FILES ${tool_dir}/completion.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/${zsh_dir}
        RENAME _brmx-scan COMPONENT tools)
endif()

if(BRMX_SERVER)
    install(TARGETS brmx-communityd brmx-community RUNTIME COMPONENT server)
    set(packaging_dir ${PROJECT_SOURCE_DIR}/server/packaging)
    foreach(page brmx-communityd.8 brmx-community.1)
        configure_file(${packaging_dir}/${page}.in ${PROJECT_BINARY_DIR}/${page} @ONLY)
    endforeach()
    install(FILES ${PROJECT_BINARY_DIR}/brmx-communityd.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT server)
    install(FILES ${PROJECT_BINARY_DIR}/brmx-community.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT server)
    configure_file(${packaging_dir}/brmx-communityd.service.in ${PROJECT_BINARY_DIR}/brmx-communityd.service @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/brmx-communityd.service DESTINATION lib/systemd/system COMPONENT server)
endif()
