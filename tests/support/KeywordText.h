#pragma once

#include <string>

#include "host/policy/QVKKeywordText.h"

// A text of template "T1" with a line of two positions, and so one worth keeping.
inline QVKKeywordText MakeText(std::string const& content) {
    QVKKeywordText text;
    text.tpl_id = "T1";
    text.text = content;
    text.line_positions = {{7, {{1, 4}, {9, 12}}}};
    return text;
}
