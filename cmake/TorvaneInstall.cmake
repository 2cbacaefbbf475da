# Installs the library, its public headers below include/torvane, the CMake package, torvane.pc and language files.
include(CMakePackageConfigHelpers)

set(torvane_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/torvane")
set(torvane_header_dir "${CMAKE_INSTALL_INCLUDEDIR}/torvane")

get_property(torvane_headers GLOBAL PROPERTY TORVANE_PUBLIC_HEADERS)
set(torvane_header_set "")
if(torvane_headers)
    set(torvane_header_set FILE_SET HEADERS DESTINATION "${torvane_header_dir}")
endif()
install(TARGETS torvane EXPORT torvane_targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ${torvane_header_set}
    INCLUDES DESTINATION "${torvane_header_dir}")
install(EXPORT torvane_targets NAMESPACE torvane:: FILE torvane-targets.cmake DESTINATION "${torvane_cmake_dir}")

configure_package_config_file(cmake/torvane-config.cmake.in torvane-config.cmake
    INSTALL_DESTINATION "${torvane_cmake_dir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(torvane-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/torvane-config.cmake" "${PROJECT_BINARY_DIR}/torvane-config-version.cmake"
    DESTINATION "${torvane_cmake_dir}")

file(RELATIVE_PATH torvane_pc_up "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(cmake/torvane.pc.in torvane.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/torvane.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(DIRECTORY host/base/lang/ DESTINATION "${CMAKE_INSTALL_DATADIR}/torvane/lang" FILES_MATCHING PATTERN "*.ini")
