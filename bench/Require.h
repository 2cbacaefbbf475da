#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {

// Ends the program when something that is measured did not do its work: a figure of work not done is worth nothing.
inline void Require(bool done, char const* what) {
    if (done) return;
    std::fprintf(stderr, "bench: %s (errno: %s)\n", what, std::strerror(errno));
    std::_Exit(2);
}

}  // namespace bench
