#include "host/base/HFileWriter.h"

#include <fcntl.h>

int HFileWriter::create(HString const& path, bool keep) noexcept {
    int const error = open_file(path, O_WRONLY | O_CREAT | (keep ? 0 : O_TRUNC));
    // Where the end lies is asked only when it matters: a write in place needs no call for it.
    if (error == 0 && keep) position_ = kAtEnd;
    return error;
}
