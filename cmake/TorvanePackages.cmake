# cpack makes Debian packages of the components of TorvaneInstall: libtorvane3, libtorvane-dev and torvane-tools.
# "cmake --workflow --preset deb" does it all; the packages then lie in build/deb/packages.
option(TORVANE_PACKAGES "Make Debian packages (needs dpkg-dev and a prefix of /usr)" OFF)
if(NOT TORVANE_PACKAGES)
    return()
endif()
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    message(FATAL_ERROR "TORVANE_PACKAGES needs -DCMAKE_INSTALL_PREFIX=/usr, or --preset deb.")
endif()
if(NOT TORVANE_GZIP OR NOT TARGET torvane_tool)
    message(FATAL_ERROR "TORVANE_PACKAGES needs gzip and TORVANE_TOOLS.")
endif()

set(torvane_debian_dir "${PROJECT_SOURCE_DIR}/packaging/debian")
set(torvane_package_runtime "libtorvane${PROJECT_VERSION_MAJOR}")
set(torvane_package_development libtorvane-dev)
set(torvane_package_tools torvane-tools)

# What every package bears. The first line of the changelog tells the version, and must agree.
file(STRINGS "${torvane_debian_dir}/changelog" torvane_changelog_head LIMIT_COUNT 1)
if(NOT torvane_changelog_head MATCHES "^torvane \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "packaging/debian/changelog does not begin with version ${PROJECT_VERSION}: ${torvane_changelog_head}")
endif()
foreach(component IN ITEMS runtime development tools)
    set(doc "${CMAKE_INSTALL_DATADIR}/doc/${torvane_package_${component}}")
    install(FILES "${torvane_debian_dir}/copyright" DESTINATION "${doc}" COMPONENT ${component})
    torvane_install_compressed("${torvane_debian_dir}/changelog" "${doc}" ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME torvane)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_STRIP_FILES ON)
# Whatever the umask of who makes them.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE torvane)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "libtorvane maintainers <maintainers@torvane.example>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# The library's dependencies are read off the built file when the packages are made. Given a list of shared libraries,
# cpack would also write maintainer scripts that call ldconfig, which is the trigger's work.
configure_file("${torvane_debian_dir}/shlibs.in" debian/shlibs @ONLY)
configure_file("${torvane_debian_dir}/dependencies.cmake.in" debian/dependencies.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_BINARY_DIR}/debian/dependencies.cmake")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "${torvane_package_runtime}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${torvane_debian_dir}/triggers" "${PROJECT_BINARY_DIR}/debian/shlibs")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "result cache of a content scanner - shared library
The library remembers what the scanner of a data loss prevention agent found:
for the content of each file, the answer under each template of keywords;
for each scan, the sensitive files that it found; how often each was found;
extracted texts. Everything lies in plain files below one directory.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME "${torvane_package_development}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${torvane_package_runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS pkg-config)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "result cache of a content scanner - development files
Headers, CMake package and pkg-config file of libtorvane, which remembers
what the scanner of a data loss prevention agent found; a manual page, an
example, and a language file for the root directory of a cache.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME "${torvane_package_tools}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_ENHANCES "${torvane_package_runtime}")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "result cache of a content scanner - looking inside, checking, mending
The program torvane tells what is in a cache that libtorvane keeps, how large
it is, why a file was scanned again, and whether it is damaged. It changes
nothing there, and writes a mended or compacted cache to another place.")

include(CPack)
