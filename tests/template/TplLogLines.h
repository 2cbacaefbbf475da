#pragma once

#include <string>
#include <vector>

#include "tests/support/LogLines.h"

// The lines that template/ has written since the last call, as "<level> <line> <text>". Those of the layers below have
// tests of their own.
inline std::vector<std::string> TakeOwn(LogLines& log) {
    std::vector<std::string> texts;
    for (LogLines::Line const& line : log.Take()) {
        if (line.source != "../DLPCacheTpl.cpp") continue;
        texts.push_back(std::to_string(line.level) + " " + std::to_string(line.line) + " " + line.text);
    }
    return texts;
}

// An assertion line in that form.
inline std::string Assertion(char const* operation, int line, std::string const& word) {
    std::string const number = std::to_string(line);
    return "1 " + number + " " + operation + ", Line:" + number + ", ASSERT_" + word;
}
