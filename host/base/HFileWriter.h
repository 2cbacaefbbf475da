#pragma once

#include "host/base/HFileBase.h"

// A file open for writing.
class TORVANE_API HFileWriter : public HFileBase {
  public:
    // Opens the file, making it (mode 0600) when it is missing; its directory must exist. With `keep` the content stays
    // and the position is the end, without it the file is emptied. 0 on success, else errno.
    [[nodiscard]] int create(HString const& path, bool keep) noexcept;
};
