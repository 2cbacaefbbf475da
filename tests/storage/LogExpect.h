#pragma once

#include <gmock/gmock.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/support/LogLines.h"

// What the storage layer has written since the last look: level, line and text of each of its lines.
using Logged = std::vector<std::tuple<int, int, std::string>>;

inline Logged TakeStorageLines(LogLines& log) {
    Logged lines;
    for (LogLines::Line const& line : log.Take()) {
        EXPECT_EQ(line.source, "../DLPCacheIndex.cpp");
        lines.emplace_back(line.level, line.line, line.text);
    }
    return lines;
}

// The assertion line of `operation` at `line`, with `word` as it stands.
inline Logged Assertion(std::string const& operation, int line, std::string const& word = ", ASSERT_FALSE") {
    return {{1, line, operation + ", Line:" + std::to_string(line) + word}};
}

inline Logged operator+(Logged lines, Logged const& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}
