#include "host/base/HFileReadWriter.h"

#include <fcntl.h>

int HFileReadWriter::open(HString const& path) noexcept {
    return open_file(path, O_RDWR);
}
