#pragma once

#include "host/base/HFileBase.h"

// A file open for reading.
class TORVANE_API HFileReader : public HFileBase {
  public:
    // Opens an existing file, position 0. 0 on success, else errno (ENOENT: missing).
    [[nodiscard]] int open(HString const& path) noexcept;
};
