# torvane_add_test(<name> [WITHOUT_THREADS] <source>...)
#   A GoogleTest program over the internals. Each case is a ctest of its own and runs in a process of its own, so
#   that a singleton is fresh in each. A build with ThreadSanitizer leaves out those without threads.
# torvane_add_fuzzer(<name> <source>...)
#   A libFuzzer program over the internals, run by ctest for TORVANE_FUZZ_SECONDS. Seeds: corpus/<name>/ beside its CMakeLists.txt.

if(TORVANE_TESTS)
    find_package(GTest REQUIRED)
    include(GoogleTest)
endif()
# Tests are compiled more often than they are run: what takes long in them takes it in the library. No optimisation and
# only line tables halve the time of a build.
add_library(torvane_test_settings INTERFACE)
target_compile_options(torvane_test_settings INTERFACE $<$<NOT:$<CONFIG:Release>>:-O0 -g1>)

set(TORVANE_FUZZ_SECONDS 20 CACHE STRING "Seconds that ctest gives each fuzz target")

function(torvane_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "WITHOUT_THREADS" "" "")
    add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
    target_precompile_headers(${name} REUSE_FROM torvane_test_headers)
    target_link_libraries(${name} PRIVATE torvane_core torvane_test_support torvane_test_settings torvane_warnings
                                          GTest::gmock_main)
    if(arg_WITHOUT_THREADS AND TORVANE_SANITIZE STREQUAL "thread")
        set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    else()
        gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES LABELS ${name} TIMEOUT 600)
    endif()
endfunction()

function(torvane_add_fuzzer name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE torvane_core torvane_warnings)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    # New inputs go to the first directory, in the build tree; the seeds are only read.
    set(found "${CMAKE_CURRENT_BINARY_DIR}/corpus/${name}")
    file(MAKE_DIRECTORY "${found}")
    set(seeds "${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name}")
    if(NOT IS_DIRECTORY "${seeds}")
        set(seeds "")
    endif()
    math(EXPR timeout "${TORVANE_FUZZ_SECONDS} + 120")
    add_test(NAME fuzz.${name} WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}"
        COMMAND ${name} -max_total_time=${TORVANE_FUZZ_SECONDS} -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
                "${found}" ${seeds})
    set_tests_properties(fuzz.${name} PROPERTIES LABELS fuzz TIMEOUT ${timeout})
endfunction()
