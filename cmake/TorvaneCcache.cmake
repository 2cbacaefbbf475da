# Compiles through ccache where it is installed and the caller has not chosen a launcher of their own.
find_program(TORVANE_CCACHE ccache DOC "ccache, used for every compilation when found")
mark_as_advanced(TORVANE_CCACHE)
if(TORVANE_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${TORVANE_CCACHE}")
endif()
