# Compiles through ccache where it is installed and the caller has not chosen a launcher of their own. Checkouts in
# different directories share what they compile: paths are told relative to the tree (BASEDIR), the working directory
# does not count (NOHASHDIR), and the tests' precompiled header neither (SLOPPINESS).
find_program(TORVANE_CCACHE ccache DOC "ccache, used for every compilation when found")
mark_as_advanced(TORVANE_CCACHE)
if(TORVANE_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}" CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime "${TORVANE_CCACHE}")
endif()
