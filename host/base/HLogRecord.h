#pragma once

#include <string>

#include "host/base/Export.h"
#include "host/base/HString.h"

// One line of the log while it is put together. Pieces are appended only while `active` is set; numbers in decimal.
struct TORVANE_API HLogRecord {
    bool active = false;  // the line will be written
    int level = 0;        // 1 error, 2 warning, 3 information
    wchar_t const* source = nullptr;
    int line = 0;
    std::string text;     // UTF-8

    HLogRecord& operator<<(HString const& piece);
    HLogRecord& operator<<(char const* piece);
    HLogRecord& operator<<(long long piece);
    HLogRecord& operator<<(int piece) { return *this << static_cast<long long>(piece); }
};
