# torvane_warnings: linked PRIVATE by every target of this tree, never by what is installed.
add_library(torvane_warnings INTERFACE)
target_compile_options(torvane_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion)
if(TORVANE_WERROR)
    target_compile_options(torvane_warnings INTERFACE -Werror)
endif()
