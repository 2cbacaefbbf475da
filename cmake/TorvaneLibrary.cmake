# torvane_core: static, what tests, fuzzers and tools of this tree link; they see the internals.
# torvane:      the shared library made from the same objects, exporting what cmake/torvane.map lets through.
# The folders add their sources to torvane_core and name their installed headers with torvane_public_headers().

add_library(torvane_core STATIC)
set_target_properties(torvane_core PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_include_directories(torvane_core PUBLIC "${PROJECT_SOURCE_DIR}")
target_link_libraries(torvane_core PUBLIC torvane_settings PRIVATE torvane_warnings)

# Gives the target all_verify_interface_header_sets: each installed header compiled on its own.
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)
add_library(torvane SHARED)
add_library(torvane::torvane ALIAS torvane)
target_sources(torvane PRIVATE $<TARGET_OBJECTS:torvane_core>)
set_target_properties(torvane PROPERTIES
    LINKER_LANGUAGE CXX
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/torvane.map")
target_compile_features(torvane PUBLIC cxx_std_20)
target_link_libraries(torvane PRIVATE torvane_settings)
target_link_options(torvane PRIVATE
    "LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/torvane.map" "LINKER:--as-needed"
    # Calls from one exported function to another stay inside the library.
    "LINKER:-Bsymbolic-functions")
if(NOT TORVANE_SANITIZE)
    # A sanitizer's runtime may live in the program, so its symbols stay undefined here.
    target_link_options(torvane PRIVATE "LINKER:-z,defs")
endif()

# torvane_public_headers(<folder> <header>...)
#   Installs the headers of the folder (the current source directory, <folder> below the root) to
#   include/torvane/<folder>. Examples and benchmark may include these and no others.
function(torvane_public_headers folder)
    if(NOT CMAKE_CURRENT_SOURCE_DIR STREQUAL "${PROJECT_SOURCE_DIR}/${folder}")
        message(FATAL_ERROR "torvane_public_headers(${folder}) belongs into ${folder}/CMakeLists.txt")
    endif()
    list(TRANSFORM ARGN PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" OUTPUT_VARIABLE paths)
    target_sources(torvane PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${paths})
    list(TRANSFORM ARGN PREPEND "${folder}/" OUTPUT_VARIABLE names)
    set_property(GLOBAL APPEND PROPERTY TORVANE_PUBLIC_HEADERS ${names})
endfunction()
