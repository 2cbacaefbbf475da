#pragma once

#include <string>

#include "host/base/Export.h"
#include "host/base/HString.h"

// One line of the log while it is put together. Pieces are appended only while `active` is set; numbers in decimal.
// Nothing throws: a line for which there is no memory becomes inactive.
struct TORVANE_API HLogRecord {
    bool active = false;  // the line will be written
    int level = 0;        // 1 error, 2 warning, 3 information
    wchar_t const* source = nullptr;
    int line = 0;
    std::string text;  // UTF-8

    HLogRecord& operator<<(HString const& piece) noexcept;
    HLogRecord& operator<<(char const* piece) noexcept;
    HLogRecord& operator<<(long long piece) noexcept;
    HLogRecord& operator<<(int piece) noexcept { return *this << static_cast<long long>(piece); }
};
