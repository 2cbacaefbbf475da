#pragma once

#include <string>

#include "host/base/Export.h"
#include "host/base/HString.h"

// One line of the log while it is put together. Pieces are appended only while `active` is set; numbers in decimal.
// Nothing throws: a line for which there is no memory becomes inactive.
struct TORVANE_API HLogRecord {
    bool active = false;              // the line will be written
    int level = 0;                    // 1 error, 2 warning, 3 information
    wchar_t const* source = nullptr;  // name of the source file, a literal
    int line = 0;                     // number of the line in it, as the caller gives it
    std::string text;                 // UTF-8

    HLogRecord& operator<<(HString const& piece) noexcept;  // appends it as UTF-8
    HLogRecord& operator<<(char const* piece) noexcept;     // as it stands; null appends nothing
    HLogRecord& operator<<(long long piece) noexcept;       // decimal text
    HLogRecord& operator<<(int piece) noexcept { return *this << static_cast<long long>(piece); }  // the same
};
