# Installs, in three components that TorvanePackages makes packages of:
#   runtime      the shared library
#   development  its headers below include/torvane, the CMake package, torvane.pc, language files, an example, libtorvane(3)
#   tools        the program torvane, the schemas of its answers, its completion, torvane(1)
# Every path in what is installed is told relative to the file that tells it, so that an installed tree may be moved.
include(CMakePackageConfigHelpers)

set(torvane_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/torvane")
set(torvane_header_dir "${CMAKE_INSTALL_INCLUDEDIR}/torvane")

# torvane_install_compressed(<file> <directory> <component> [<name>]): as <name>.gz (the file's own name if there is
# none), or as it is where gzip is missing. The same file gives the same bytes.
find_program(TORVANE_GZIP gzip DOC "gzip, which compresses manual pages and changelogs")
mark_as_advanced(TORVANE_GZIP)
function(torvane_install_compressed file directory component)
    get_filename_component(name "${file}" NAME)
    if(ARGC GREATER 3)
        set(name "${ARGV3}")
    endif()
    if(NOT TORVANE_GZIP)
        install(FILES "${file}" DESTINATION "${directory}" RENAME "${name}" COMPONENT ${component})
        return()
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    set(made "${PROJECT_BINARY_DIR}/compressed/${name}.gz")
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/compressed")
    execute_process(COMMAND "${TORVANE_GZIP}" -9nc "${file}" OUTPUT_FILE "${made}" COMMAND_ERROR_IS_FATAL ANY)
    install(FILES "${made}" DESTINATION "${directory}" COMPONENT ${component})
endfunction()

# The library
get_property(torvane_headers GLOBAL PROPERTY TORVANE_PUBLIC_HEADERS)
set(torvane_header_set "")
if(torvane_headers)
    set(torvane_header_set FILE_SET HEADERS DESTINATION "${torvane_header_dir}" COMPONENT development)
endif()
install(TARGETS torvane EXPORT torvane_targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
    ${torvane_header_set}
    INCLUDES DESTINATION "${torvane_header_dir}")

# What builds against it
install(EXPORT torvane_targets NAMESPACE torvane:: FILE torvane-targets.cmake
    DESTINATION "${torvane_cmake_dir}" COMPONENT development)
configure_package_config_file(cmake/torvane-config.cmake.in torvane-config.cmake
    INSTALL_DESTINATION "${torvane_cmake_dir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(torvane-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/torvane-config.cmake" "${PROJECT_BINARY_DIR}/torvane-config-version.cmake"
    DESTINATION "${torvane_cmake_dir}" COMPONENT development)

file(RELATIVE_PATH torvane_pc_up "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(cmake/torvane.pc.in torvane.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/torvane.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

install(DIRECTORY host/base/lang/ DESTINATION "${CMAKE_INSTALL_DATADIR}/torvane/lang" COMPONENT development
    FILES_MATCHING PATTERN "*.ini")
install(FILES examples/embed/embed.cpp DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/libtorvane-dev/examples"
    COMPONENT development)
torvane_install_compressed("${PROJECT_SOURCE_DIR}/packaging/man/libtorvane.3" "${CMAKE_INSTALL_MANDIR}/man3" development)

# The program. It carries the library's code in itself; the run path serves it should it come to share the library, and
# lies where the loader looks anyway when the prefix is /usr.
if(TARGET torvane_tool)
    if(NOT CMAKE_INSTALL_PREFIX MATCHES "^/usr/?$")
        file(RELATIVE_PATH torvane_bin_to_lib "/prefix/${CMAKE_INSTALL_BINDIR}" "/prefix/${CMAKE_INSTALL_LIBDIR}")
        set_target_properties(torvane_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${torvane_bin_to_lib}")
    endif()
    install(TARGETS torvane_tool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
    install(DIRECTORY share/torvane/schema DESTINATION "${CMAKE_INSTALL_DATADIR}/torvane" COMPONENT tools
        FILES_MATCHING PATTERN "*.json")
    install(FILES packaging/completion/torvane DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
        COMPONENT tools)
    torvane_install_compressed("${PROJECT_SOURCE_DIR}/packaging/man/torvane.1" "${CMAKE_INSTALL_MANDIR}/man1" tools)
endif()
