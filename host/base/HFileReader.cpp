#include "host/base/HFileReader.h"

#include <fcntl.h>

int HFileReader::open(HString const& path) noexcept {
    return open_file(path, O_RDONLY);
}
